#pragma once

namespace tapeloop {

/// The opacity of a button of the main window. While something is recorded none of them responds.
inline double hoverOpacity(bool hovering, bool isRecording) {
  return hovering && !isRecording ? 0.75 : 1.0;
}

}  // namespace tapeloop
