#pragma once

#include <optional>

#include "platform/input_monitor.h"

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

}  // namespace tapeloop
