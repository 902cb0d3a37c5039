#pragma once

#include <cstdint>

#include "platform/observable.h"

namespace tapeloop {

enum class ToolbarButton : std::uint8_t { settings, save, list };

/// What the pointer does to the three buttons of the toolbar. Main thread only.
class Toolbar {
 public:
  /// `isRecording` outlives this.
  explicit Toolbar(const Observable<bool>& isRecording) : isRecording_(isRecording) {}

  State<double> settingsButtonOpacity{1.0};
  State<double> saveButtonOpacity{1.0};
  State<double> listButtonOpacity{1.0};
  State<bool> hoveringOverSettings{false};  ///< Over any of the three.

  /// The pointer enters or leaves.
  void hover(ToolbarButton button, bool hovering);

 private:
  const Observable<bool>& isRecording_;
};

}  // namespace tapeloop
