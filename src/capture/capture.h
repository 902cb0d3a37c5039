#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include "capture/capture_state.h"
#include "platform/desktop_services.h"
#include "platform/input_event.h"
#include "platform/input_monitor.h"
#include "platform/run_loop.h"
#include "platform/trace.h"
#include "platform/window_system.h"

namespace tapeloop {

/// One system-wide monitor; it is removed when the last reference goes.
class GlobalEventMonitor {
 public:
  /// Installs nothing yet. `service` outlives this object.
  GlobalEventMonitor(InputMonitor& service, EventMask mask, InputMonitor::Handler handler);
  GlobalEventMonitor(const GlobalEventMonitor&) = delete;
  GlobalEventMonitor& operator=(const GlobalEventMonitor&) = delete;
  ~GlobalEventMonitor();

  void start();
  /// Delivers what is still under way first. Does nothing when nothing is installed.
  void stop();
  [[nodiscard]] bool isInstalled() const { return monitor_.has_value(); }

 private:
  InputMonitor& service_;
  std::optional<MonitorToken> monitor_;  // empty while not installed, and when installing failed
  EventMask mask_;
  InputMonitor::Handler handler_;
};

/// The line that the trace holds for a captured event, which is of a kind that recordings hold: its
/// type, location, time and flags inside "Optional(...)". Written for every pointer move, so it is
/// put together without an allocation.
class EventDescription {
 public:
  explicit EventDescription(const InputEvent& event);
  explicit operator std::string_view() const { return {buffer_.data(), length_}; }

 private:
  std::array<char, 192> buffer_;
  std::size_t length_ = 0;
};

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
