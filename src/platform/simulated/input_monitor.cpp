#include "platform/simulated/input_monitor.h"

#include <algorithm>
#include <utility>

namespace tapeloop::simulated {

std::optional<MonitorToken> ScriptedInputMonitor::addGlobalMonitorForEventsMatchingMask(
    EventMask mask, Handler handler) {
  if (refuses_) return std::nullopt;
  const MonitorToken token{nextToken_++};
  monitors_.push_back({token, mask, std::move(handler)});
  return token;
}

void ScriptedInputMonitor::removeMonitor(MonitorToken token) {
  const auto known = std::find_if(monitors_.begin(), monitors_.end(),
                                  [&](const Monitor& monitor) { return monitor.token == token; });
  if (known == monitors_.end()) return;
  const Monitor gone = std::move(*known);
  monitors_.erase(known);
  for (const InputEvent& event : std::exchange(heldBack_, {})) deliver(event, gone);
}

void ScriptedInputMonitor::deliver(const InputEvent& event) {
  // A handler may install and remove monitors.
  const std::vector<Monitor> monitors = monitors_;
  for (const Monitor& monitor : monitors) deliver(event, monitor);
}

void ScriptedInputMonitor::deliver(const InputEvent& event, const Monitor& monitor) {
  if (monitor.mask >> static_cast<std::uint32_t>(event.type) & 1) monitor.handler(&event);
}

}  // namespace tapeloop::simulated
