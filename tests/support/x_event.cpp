#include "support/x_event.h"

#include <algorithm>
#include <ctime>
#include <ostream>

namespace tapeloop::support {

std::ostream& operator<<(std::ostream& out, const XEvent& event) {
  static constexpr const char* names[] = {"key press", "key release", "button press",
                                          "button release", "motion"};
  out << names[static_cast<int>(event.kind) - XCB_KEY_PRESS];
  if (event.kind != XEventKind::motion) out << ' ' << static_cast<int>(event.detail);
  out << " at " << event.rootX << ',' << event.rootY << " state 0x" << std::hex << event.state
      << std::dec;
  return event.repeatOfDownKey ? out << " (repeat)" : out;
}

std::int64_t monotonicNow() {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

void XEventList::append(const XEvent& event) {
  {
    const std::lock_guard lock(mutex_);
    events_.push_back(event);
  }
  changed_.notify_all();
}

XEventList::Events XEventList::events() const {
  const std::lock_guard lock(mutex_);
  return events_;
}

std::size_t XEventList::size() const {
  const std::lock_guard lock(mutex_);
  return events_.size();
}

std::size_t XEventList::count(XEventKind kind) const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(std::ranges::count(events_, kind, &XEvent::kind));
}

void XEventList::clear() {
  const std::lock_guard lock(mutex_);
  events_.clear();
}

bool XEventList::waitFor(std::size_t count, std::chrono::milliseconds limit) const {
  return waitUntil([count](const Events& events) { return events.size() >= count; }, limit);
}

bool XEventList::waitUntil(const std::function<bool(const Events&)>& predicate,
                           std::chrono::milliseconds limit) const {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, limit, [&] { return predicate(events_); });
}

std::optional<XEvent> readXEvent(const void* raw) {
  // The five kinds share one layout.
  const auto* core = static_cast<const xcb_key_press_event_t*>(raw);
  const auto type = static_cast<std::uint8_t>(core->response_type & 0x7F);
  if (type < XCB_KEY_PRESS || type > XCB_MOTION_NOTIFY) return std::nullopt;
  XEvent event;
  event.kind = static_cast<XEventKind>(type);
  event.detail = event.kind == XEventKind::motion ? std::uint8_t{0} : core->detail;
  event.rootX = core->root_x;
  event.rootY = core->root_y;
  event.state = core->state;
  event.time = core->time;
  event.arrival = monotonicNow();
  return event;
}

}  // namespace tapeloop::support
