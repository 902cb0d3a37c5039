#include "capture/global_event_monitor.h"

#include <utility>

namespace tapeloop {

GlobalEventMonitor::GlobalEventMonitor(InputMonitor& service, EventMask mask,
                                       InputMonitor::Handler handler)
    : service_(service), mask_(mask), handler_(std::move(handler)) {}

GlobalEventMonitor::~GlobalEventMonitor() {
  stop();
}

void GlobalEventMonitor::start() {
  monitor_ = service_.addGlobalMonitorForEventsMatchingMask(mask_, handler_);
}

void GlobalEventMonitor::stop() {
  // Emptied first: the handler runs once more for what is still under way.
  if (const auto token = std::exchange(monitor_, std::nullopt)) service_.removeMonitor(*token);
}

}  // namespace tapeloop
