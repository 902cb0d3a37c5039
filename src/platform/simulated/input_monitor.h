#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/input_monitor.h"

namespace tapeloop::simulated {

/// Delivers the events that it is told to.
class ScriptedInputMonitor final : public InputMonitor {
 public:
  std::optional<MonitorToken> addGlobalMonitorForEventsMatchingMask(EventMask mask,
                                                                    Handler handler) override;
  void removeMonitor(MonitorToken token) override;

  /// To every monitor that admits the event's type.
  void deliver(const InputEvent& event);
  /// The event happens now, and is delivered only when its monitor is being removed.
  void holdBack(const InputEvent& event) { heldBack_.push_back(event); }
  /// From now on installing fails.
  void refuseMonitors() { refuses_ = true; }

  [[nodiscard]] std::size_t installed() const { return monitors_.size(); }

 private:
  struct Monitor {
    MonitorToken token;
    EventMask mask;
    Handler handler;
  };
  static void deliver(const InputEvent& event, const Monitor& monitor);

  std::vector<std::shared_ptr<Monitor>> monitors_;
  std::vector<InputEvent> heldBack_;
  std::uint64_t nextToken_ = 1;
  bool refuses_ = false;
};

}  // namespace tapeloop::simulated
