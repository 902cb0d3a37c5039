#pragma once

#include "platform/desktop_services.h"
#include "platform/observable.h"
#include "platform/trace.h"

namespace tapeloop {

/// How opaque a button is. The pointer makes it paler, but not while something is recorded, when
/// the buttons are disabled.
inline double hoverOpacity(bool hovering, bool isRecording) {
  return hovering && !isRecording ? 0.75 : 1.0;
}

/// The opacity of one button.
class HoverOpacity final : public State<double> {
 public:
  /// `hovering` may be shared by several buttons. Without `isRecording` the button becomes paler at
  /// all times.
  explicit HoverOpacity(State<bool>& hovering, const Observable<bool>* isRecording = nullptr)
      : State(1.0), hovering_(hovering), isRecording_(isRecording) {}

  /// The pointer enters or leaves.
  void hover(bool hovering) {
    hovering_.set(hovering);
    set(hoverOpacity(hovering, isRecording_ && isRecording_->get()));
  }

 private:
  State<bool>& hovering_;
  const Observable<bool>* isRecording_;
};

/// The three buttons of the toolbar. No view shows the hover flags of this and of the other
/// buttons; they tell tests and a debugger where the pointer is.
struct Toolbar {
  explicit Toolbar(const Observable<bool>& recording) : isRecording(recording) {}

  const Observable<bool>& isRecording;
  State<bool> hoveringOverSettings{false};  ///< Over any of the three.
  HoverOpacity settingsButtonOpacity{hoveringOverSettings, &isRecording};
  HoverOpacity saveButtonOpacity{hoveringOverSettings, &isRecording};
  HoverOpacity listButtonOpacity{hoveringOverSettings, &isRecording};
};

/// The button with the program's icon and the alert that it raises: "Thank you for using
/// Tapeloop.", with the buttons "Dismiss" and "Privacy Policy".
class InformationButton {
 public:
  InformationButton(Workspace& workspace, Trace& trace) : workspace_(workspace), trace_(trace) {}

  State<bool> showingAlert{false};
  State<bool> hoveringOverStart{false};
  HoverOpacity infoButtonOpacity{hoveringOverStart};

  void press();

  // The buttons of the alert.
  void dismissAlert();
  void openPrivacyPolicy();

 private:
  Workspace& workspace_;
  Trace& trace_;
};

}  // namespace tapeloop
