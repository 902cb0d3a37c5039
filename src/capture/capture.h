#pragma once

#include "capture/capture_state.h"
#include "platform/desktop_services.h"
#include "platform/input_monitor.h"
#include "platform/run_loop.h"
#include "platform/trace.h"
#include "platform/window_system.h"

namespace tapeloop {

/// Records what the user does anywhere on the desktop into the event log. The log itself is the
/// unsaved recording. Main thread only.
class Capture {
 public:
  /// Everything that is handed in outlives the capture.
  Capture(CaptureState& state, const CaptureSettings& settings, Permission& permission,
          InputMonitor& inputMonitor, WindowSystem& windows, RunLoop& runLoop, Trace& trace);
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;
  ~Capture();

  /// Starts capture when nothing runs, and stops it otherwise. Without permission it raises the
  /// authorization alert instead.
  void recordAction();
  void recordShortcutAction();

  void startRecording();
  /// Keeps the log; the next start empties it.
  void stopRecording();

 private:
  void handle(const InputEvent& event);

  CaptureState& state_;
  const CaptureSettings settings_;
  Permission& permission_;
  InputMonitor& inputMonitor_;
  WindowSystem& windows_;
  RunLoop& runLoop_;
  Trace& trace_;
  bool captionIsDue_ = false;  // in a capture, the caption is not yet the one that goes with it
  Subscription captionChanged_;
};

}  // namespace tapeloop
