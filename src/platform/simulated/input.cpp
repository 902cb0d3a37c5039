#include "platform/simulated/input.h"

#include <algorithm>
#include <utility>

namespace tapeloop::simulated {

std::optional<MonitorToken> ScriptedInputMonitor::addGlobalMonitorForEventsMatchingMask(
    EventMask mask, Handler handler) {
  if (refuses_) return std::nullopt;
  const MonitorToken token{nextToken_++};
  monitors_.push_back(std::make_shared<Monitor>(Monitor{token, mask, std::move(handler)}));
  return token;
}

void ScriptedInputMonitor::removeMonitor(MonitorToken token) {
  const auto known = std::find_if(monitors_.begin(), monitors_.end(),
                                  [&](const auto& monitor) { return monitor->token == token; });
  if (known == monitors_.end()) return;
  const auto gone = *known;
  monitors_.erase(known);
  for (const InputEvent& event : std::exchange(heldBack_, {})) deliver(event, *gone);
  gone->mask = 0;  // in case `deliver` is iterating over a copy of the list
}

void ScriptedInputMonitor::deliver(const InputEvent& event) {
  // A copy, since handlers may add and remove monitors. New ones get the next event, removed ones
  // nothing more.
  for (const auto& monitor : std::vector(monitors_)) deliver(event, *monitor);
}

void ScriptedInputMonitor::deliver(const InputEvent& event, const Monitor& monitor) {
  if (admits(monitor.mask, event.type)) monitor.handler(&event);
}

}  // namespace tapeloop::simulated
