#include "platform/x11/input_monitor.h"

#include <algorithm>
#include <utility>

#include <xcb/xcb.h>
#include <xcb/xcbext.h>
#include <xcb/xinput.h>

#include "platform/x11/monotonic_clock.h"
#include "platform/x11/xcb_reply.h"

namespace tapeloop::x11 {
namespace {

constexpr double pixelsPerNotch = 10;
// Not every key that is announced is recorded; of old ones there is no use.
constexpr std::size_t mostAnnouncedKeys = 4096;
constexpr std::uint16_t heldButtons = XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3;

enum Button : std::uint8_t {
  left = 1,
  right = 3,
  wheelUp = 4,
  wheelDown = 5,
  wheelLeft = 6,
  wheelRight = 7
};

constexpr bool isWheel(std::uint8_t button) {
  return button >= wheelUp && button <= wheelRight;
}
constexpr bool isKey(std::uint8_t type) {
  return type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE;
}

}  // namespace

X11InputMonitor::X11InputMonitor(Connection& connection, const KeyboardMap& keyboard,
                                 const X11Screens& screens, const OwnWindows& ownWindows,
                                 DoubleClick doubleClick)
    : connection_(connection),
      keyboard_(keyboard),
      screens_(screens),
      ownWindows_(ownWindows),
      clicks_(doubleClick),
      keyAims_(256, Aim::unknown) {
  events_ = connection_.onEvent([this](const xcb_generic_event_t& event) { handle(event); });
  drained_ = connection_.onDrained([this] {
    receiveFocus();
    if (heldBack_ && nudge_ == 0) nudge();
    if (monitors_.empty() && delivering_ == 0) stopStream();
  });
}

X11InputMonitor::~X11InputMonitor() {
  monitors_.clear();
  stopStream();
}

std::optional<MonitorToken> X11InputMonitor::addGlobalMonitorForEventsMatchingMask(
    EventMask mask, Handler handler) {
  if (!stream_ && !startStream()) return std::nullopt;
  const MonitorToken token{++latestToken_};
  monitors_.push_back(std::make_shared<Monitor>(Monitor{token, mask, std::move(handler)}));
  return token;
}

void X11InputMonitor::removeMonitor(MonitorToken token) {
  const auto found = std::find_if(monitors_.begin(), monitors_.end(),
                                  [token](const auto& monitor) { return monitor->token == token; });
  if (found == monitors_.end()) return;
  // A handler that removes its own monitor has had everything up to the event it is handling.
  if (monitors_.size() == 1 && delivering_ == 0 && stream_) stream_->finish();
  std::erase_if(monitors_, [token](const auto& monitor) { return monitor->token == token; });
  if (monitors_.empty() && delivering_ == 0) stopStream();
}

bool X11InputMonitor::startStream() {
  if (!connection_.extensions().xinput) return false;
  pressAim_ = Aim::unknown;
  std::fill(keyAims_.begin(), keyAims_.end(), Aim::unknown);
  announcedKeys_.clear();
  selectRawEvents(true);
  sacrifice_ = RecordStream::start(connection_, [](const DeviceEvent&) {});
  stream_ = RecordStream::start(connection_, [this](const DeviceEvent& event) { receive(event); });
  if (!stream_) {
    sacrifice_.reset();
    selectRawEvents(false);
  }
  return stream_ != nullptr;
}

void X11InputMonitor::stopStream() {
  if (!stream_) return;
  stream_.reset();
  sacrifice_.reset();
  selectRawEvents(false);
  if (nudge_ != 0) xcb_discard_reply(connection_.xcb(), std::exchange(nudge_, 0));
  heldBack_ = false;
}

void X11InputMonitor::selectRawEvents(bool on) {
  struct {
    xcb_input_event_mask_t head;
    std::uint32_t mask;
  } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, 0};
  if (on) {
    selection.mask =
        XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE |
        XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE |
        XCB_INPUT_XI_EVENT_MASK_RAW_MOTION;
  }
  xcb_input_xi_select_events(connection_.xcb(), connection_.root(), 1, &selection.head);
  xcb_flush(connection_.xcb());
}

void X11InputMonitor::handle(const xcb_generic_event_t& event) {
  if ((event.response_type & 0x7f) != XCB_GE_GENERIC) return;
  const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
  if (generic.extension != connection_.extensions().xinputOpcode) return;
  if (generic.event_type >= XCB_INPUT_RAW_KEY_PRESS && generic.event_type <= XCB_INPUT_RAW_MOTION) {
    if (!stream_) return;
    heldBack_ = true;
    const auto& raw = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
    serverTime_.announce(raw.time, monotonicNow());
    // By the time that the event itself comes, the key may have moved the focus.
    if (generic.event_type <= XCB_INPUT_RAW_KEY_RELEASE && ownWindows_.anyOnScreen()) {
      if (announcedKeys_.size() == mostAnnouncedKeys) announcedKeys_.pop_front();
      announcedKeys_.push_back(
          {raw.time, static_cast<std::uint8_t>(raw.detail),
           ownWindows_.hasKeyboard() ? Aim::ownWindow : Aim::otherApplication});
    }
  }
}

// Whatever the server writes to a client makes it pass on what RECORD holds back. The request that
// asks for something to write asks for the input focus, which is wanted anyway. One is under way at
// a time, so that under load many events share one.
void X11InputMonitor::nudge() {
  heldBack_ = false;
  nudge_ = xcb_get_input_focus(connection_.xcb()).sequence;
  xcb_flush(connection_.xcb());
}

void X11InputMonitor::receiveFocus() {
  if (nudge_ == 0) return;
  void* memory = nullptr;
  xcb_generic_error_t* failure = nullptr;
  if (xcb_poll_for_reply(connection_.xcb(), nudge_, &memory, &failure) == 0) return;
  nudge_ = 0;
  const auto error = own(failure);
  const auto reply = own(static_cast<xcb_get_input_focus_reply_t*>(memory));
  if (reply) focus_ = reply->focus;
}

void X11InputMonitor::receive(const DeviceEvent& event) {
  const double timestamp = serverTime_.timestamp(event.time, event.arrival);
  const Aim aim = isKey(event.type) ? aimOfKey(event) : aimOfPointer(event);
  if (aim == Aim::ownWindow) return;
  if (const auto translated = translate(event, timestamp)) deliver(*translated);
}

// A key that went down in one window and comes up in another belongs to the first: a recording
// holds both or neither.
X11InputMonitor::Aim X11InputMonitor::aimOfKey(const DeviceEvent& event) {
  Aim& aim = keyAims_[event.detail];
  if (aim != Aim::unknown) {
    return event.type == XCB_KEY_RELEASE ? std::exchange(aim, Aim::unknown) : aim;
  }
  const Aim found = focus_ == XCB_INPUT_FOCUS_POINTER_ROOT ? aimAt(event) : announcedAim(event);
  if (event.type == XCB_KEY_PRESS) aim = found;
  return found;
}

X11InputMonitor::Aim X11InputMonitor::announcedAim(const DeviceEvent& event) {
  if (!ownWindows_.anyOnScreen()) return Aim::otherApplication;
  if (const auto aim = takeAnnouncement(event)) return *aim;
  // The two connections are not read in step: the announcement may still be under way.
  connection_.catchUp();
  if (const auto aim = takeAnnouncement(event)) return *aim;
  return ownWindows_.hasKeyboard() ? Aim::ownWindow : Aim::otherApplication;
}

std::optional<X11InputMonitor::Aim> X11InputMonitor::takeAnnouncement(const DeviceEvent& event) {
  while (!announcedKeys_.empty()) {
    const AnnouncedKey key = announcedKeys_.front();
    if (static_cast<std::int32_t>(key.time - event.time) > 0) break;
    announcedKeys_.pop_front();
    if (key.time == event.time && key.keycode == event.detail) return key.aim;
  }
  return std::nullopt;
}

// While a button is down the pointer is grabbed for the window of the press: motion and releases
// go there, wherever the pointer is.
X11InputMonitor::Aim X11InputMonitor::aimOfPointer(const DeviceEvent& event) {
  const bool grabbed = (event.state & heldButtons) != 0;
  if (grabbed && pressAim_ != Aim::unknown) return pressAim_;
  const Aim aim = aimAt(event);
  if (event.type == XCB_BUTTON_PRESS && !isWheel(event.detail)) pressAim_ = aim;
  return aim;
}

X11InputMonitor::Aim X11InputMonitor::aimAt(const DeviceEvent& event) const {
  return ownWindows_.isOnTopAt(event.x, event.y) ? Aim::ownWindow : Aim::otherApplication;
}

std::optional<InputEvent> X11InputMonitor::translate(const DeviceEvent& event, double timestamp) {
  InputEvent result;
  result.timestamp = timestamp;
  result.locationInWindow = screens_.fromRoot(event.x, event.y);
  result.modifierFlags = keyboard_.flagsOf(event.state);
  switch (event.type) {
    case XCB_KEY_PRESS:
    case XCB_KEY_RELEASE:
      if (keyboard_.isModifierKey(event.detail)) return std::nullopt;
      result.type = event.type == XCB_KEY_PRESS ? EventType::keyDown : EventType::keyUp;
      result.keyCode = keyboard_.keyCodeOf(event.detail);
      return result;
    case XCB_MOTION_NOTIFY:
      // Drags with other buttons are no kind of event that anybody is told of.
      if (event.state & XCB_BUTTON_MASK_1) {
        result.type = EventType::leftMouseDragged;
      } else if ((event.state & heldButtons) == 0) {
        result.type = EventType::mouseMoved;
      } else {
        return std::nullopt;
      }
      return result;
    case XCB_BUTTON_PRESS:
      if (isWheel(event.detail)) {
        result.type = EventType::scrollWheel;
        if (event.detail == wheelUp) result.scrollingDeltaY = pixelsPerNotch;
        if (event.detail == wheelDown) result.scrollingDeltaY = -pixelsPerNotch;
        if (event.detail == wheelLeft) result.scrollingDeltaX = pixelsPerNotch;
        if (event.detail == wheelRight) result.scrollingDeltaX = -pixelsPerNotch;
        return result;
      }
      result.clickCount = clicks_.press(event.detail, timestamp, event.x, event.y);
      if (event.detail == left) {
        result.type = EventType::leftMouseDown;
      } else if (event.detail == right) {
        result.type = EventType::rightMouseDown;
      } else {
        return std::nullopt;
      }
      return result;
    case XCB_BUTTON_RELEASE:
      result.clickCount = clicks_.release(event.detail);
      if (event.detail == left) {
        result.type = EventType::leftMouseUp;
      } else if (event.detail == right) {
        result.type = EventType::rightMouseUp;
      } else {
        return std::nullopt;
      }
      return result;
    default:
      return std::nullopt;
  }
}

void X11InputMonitor::deliver(const InputEvent& event) {
  ++delivering_;
  // Handlers may add and remove monitors; indices stay good, and what is removed is kept meanwhile.
  for (std::size_t i = 0; i < monitors_.size(); ++i) {
    const auto monitor = monitors_[i];
    const auto number = static_cast<unsigned>(event.type);
    if (monitor->mask >> number & 1U) monitor->handler(&event);
  }
  --delivering_;
}

}  // namespace tapeloop::x11
