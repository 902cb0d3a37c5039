#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "capture/capture_state.h"
#include "platform/desktop_services.h"
#include "platform/input_event.h"
#include "platform/input_monitor.h"
#include "platform/run_loop.h"
#include "platform/trace.h"
#include "platform/window_system.h"

namespace tapeloop {

/// One system-wide input monitor, which is removed on destruction.
class GlobalEventMonitor {
 public:
  /// Installs nothing yet.
  GlobalEventMonitor(InputMonitor& service, EventMask mask, InputMonitor::Handler handler);
  GlobalEventMonitor(const GlobalEventMonitor&) = delete;
  GlobalEventMonitor& operator=(const GlobalEventMonitor&) = delete;
  ~GlobalEventMonitor();

  void start();
  /// Delivers the events that happened before the call first. No effect if nothing is installed.
  void stop();

 private:
  InputMonitor& service_;
  std::optional<MonitorToken> monitor_;  // empty if not installed or refused
  EventMask mask_;
  InputMonitor::Handler handler_;
};

/// Records what the user does anywhere on the desktop into the event log. The log itself is the
/// unsaved recording.
class Capture {
 public:
  Capture(CaptureState& state, const CaptureSettings& settings, Permission& permission,
          InputMonitor& inputMonitor, WindowSystem& windows, RunLoop& runLoop, Trace& trace);
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;
  ~Capture();

  /// Starts a capture if neither a capture nor playback is running, otherwise stops the capture.
  /// Without permission it only raises the authorization alert.
  void recordAction();
  void recordShortcutAction();

  void startRecording();
  /// The log is kept until the next start.
  void stopRecording();

 private:
  void handle(const InputEvent& event);
  /// The trace line of a captured event. Valid until the next call.
  std::string_view description(const InputEvent& event);

  CaptureState& state_;
  const CaptureSettings settings_;
  Permission& permission_;
  InputMonitor& inputMonitor_;
  WindowSystem& windows_;
  RunLoop& runLoop_;
  Trace& trace_;
  bool captionIsDue_ = false;  // the caption has changed since "Stop Recording" was written
  Subscription captionChanged_;
  std::string line_;  // the latest description; kept for its memory
};

}  // namespace tapeloop
