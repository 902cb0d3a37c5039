#pragma once

#include "platform/desktop_services.h"
#include "platform/observable.h"
#include "platform/trace.h"

namespace tapeloop {

/// The button with the program's icon and the alert that it raises: "Thank you for using
/// Tapeloop.", with the buttons "Dismiss" and "Privacy Policy". Main thread only.
class InformationButton {
 public:
  /// Both outlive the button.
  InformationButton(Workspace& workspace, Trace& trace) : workspace_(workspace), trace_(trace) {}

  State<bool> showingAlert{false};
  State<double> infoButtonOpacity{1.0};
  State<bool> hoveringOverStart{false};

  void press();
  /// The pointer enters or leaves.
  void hover(bool hovering);

  // The buttons of the alert.
  void dismissAlert();
  void openPrivacyPolicy();

 private:
  Workspace& workspace_;
  Trace& trace_;
};

}  // namespace tapeloop
