#include "platform/x11/input_monitor.h"

#include <algorithm>
#include <utility>

#include <xcb/xcb.h>
#include <xcb/xcbext.h>
#include <xcb/xinput.h>

#include "platform/x11/buttons.h"

namespace tapeloop::x11 {
namespace {

// Some raw events are followed by no recorded event; their entries must not pile up.
constexpr std::size_t mostAnnouncedKeys = 4096;
constexpr std::uint16_t heldButtons = XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3;

constexpr bool isKey(std::uint8_t type) {
  return type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE;
}

}  // namespace

X11InputMonitor::X11InputMonitor(Connection& connection, const KeyboardMap& keyboard,
                                 const X11Screens& screens, const OwnWindows& ownWindows,
                                 RawInput& input, const KeyGrabs& grabs)
    : connection_(connection),
      keyboard_(keyboard),
      screens_(screens),
      ownWindows_(ownWindows),
      input_(input),
      grabs_(grabs),
      keys_(keyboard),
      keyAims_(256, Aim::unknown) {
  events_ = connection_.onEvent([this](const xcb_generic_event_t& event) { onGrabbedKey(event); });
  drained_ = connection_.onDrained([this] {
    receiveFocus();
    if (isWakeDue_ && wake_ == 0) wake();
    if (stream_ && monitors_.empty() && receiving_ == 0) stopStream();
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
  if (monitors_.size() == 1 && receiving_ == 0 && stream_) stream_->finish();
  std::erase_if(monitors_, [token](const auto& monitor) {
    if (monitor->token != token) return false;
    monitor->mask = 0;  // `deliver` may have a copy
    return true;
  });
  if (monitors_.empty() && receiving_ == 0) stopStream();
}

bool X11InputMonitor::startStream() {
  if (!connection_.extensions().xinput) return false;
  pressAim_ = Aim::unknown;
  std::fill(keyAims_.begin(), keyAims_.end(), Aim::unknown);
  announcedKeys_.clear();
  keys_.clear();
  input_.selectPointer(true);
  raw_ = input_.onRawEvent([this](const RawEvent& event) { onRawEvent(event); });
  decoy_ = RecordStream::start(connection_, [](const DeviceEvent&) {});
  stream_ = RecordStream::start(connection_, [this](const DeviceEvent& event) { receive(event); });
  if (!stream_) stopStream();
  return stream_ != nullptr;
}

void X11InputMonitor::stopStream() {
  stream_.reset();
  decoy_.reset();
  raw_.reset();
  input_.selectPointer(false);
  if (wake_ != 0) xcb_discard_reply(connection_.xcb(), std::exchange(wake_, 0));
  isWakeDue_ = false;
}

void X11InputMonitor::onRawEvent(const RawEvent& event) {
  isWakeDue_ = true;
  serverTime_.announce(event.time, monotonicNow());
  // Noted now, because the key may have moved the focus by the time its recorded event comes.
  if (event.type <= XCB_INPUT_RAW_KEY_RELEASE && canBeOurs()) {
    announceKey(
        {event.time, event.detail, ownWindows_.hasFocus() ? Aim::ours : Aim::otherApplication});
  }
}

// This connection gets core key events only through its passive grabs. The raw event of the press
// that activated a grab came just before; there are none of the keys after it.
void X11InputMonitor::onGrabbedKey(const xcb_generic_event_t& event) {
  if (!stream_) return;
  if (!isKey(eventCode(event))) return;
  isWakeDue_ = true;
  const auto& key = as<xcb_key_press_event_t>(event);
  if (!announcedKeys_.empty()) {
    AnnouncedKey& latest = announcedKeys_.back();
    if (latest.time == key.time && latest.keycode == key.detail) {
      latest.aim = Aim::ours;
      return;
    }
  }
  announceKey({key.time, key.detail, Aim::ours});
}

void X11InputMonitor::announceKey(const AnnouncedKey& key) {
  if (announcedKeys_.size() == mostAnnouncedKeys) announcedKeys_.pop_front();
  announcedKeys_.push_back(key);
}

// Makes the server flush RECORD's buffer, which it does when it writes anything to any client. The
// reply that it is made to write is the input focus, which is needed anyway. One request is under
// way at a time, so that under load many events share one.
void X11InputMonitor::wake() {
  isWakeDue_ = false;
  wake_ = xcb_get_input_focus(connection_.xcb()).sequence;
  xcb_flush(connection_.xcb());
}

void X11InputMonitor::receiveFocus() {
  if (wake_ == 0) return;
  void* memory = nullptr;
  xcb_generic_error_t* failure = nullptr;
  if (xcb_poll_for_reply(connection_.xcb(), wake_, &memory, &failure) == 0) return;
  wake_ = 0;
  const auto error = own(failure);
  const auto reply = own(static_cast<xcb_get_input_focus_reply_t*>(memory));
  if (reply) focus_ = reply->focus;
}

void X11InputMonitor::receive(const DeviceEvent& event) {
  // A handler has removed the last monitor.
  if (monitors_.empty()) return;
  // While this is not 0 the stream is not stopped, because it is in use.
  ++receiving_;
  const double timestamp = serverTime_.timestamp(event.time, event.arrival);
  const Aim aim = isKey(event.type) ? aimOfKey(event) : aimOfPointer(event);
  if (aim != Aim::ours) {
    if (const auto translated = translate(event, timestamp)) deliver(*translated);
  }
  --receiving_;
}

// A release goes with its press, though the focus may have moved: a recording has both or neither.
X11InputMonitor::Aim X11InputMonitor::aimOfKey(const DeviceEvent& event) {
  Aim& aim = keyAims_[event.detail];
  if (aim != Aim::unknown) {
    return event.type == XCB_KEY_RELEASE ? std::exchange(aim, Aim::unknown) : aim;
  }
  Aim found = announcedAim(event);
  if (found == Aim::otherApplication && focus_ == XCB_INPUT_FOCUS_POINTER_ROOT) {
    found = aimAt(event);
  }
  if (event.type == XCB_KEY_PRESS) aim = found;
  return found;
}

bool X11InputMonitor::canBeOurs() const {
  return ownWindows_.anyOnScreen() || grabs_.any();
}

X11InputMonitor::Aim X11InputMonitor::announcedAim(const DeviceEvent& event) {
  if (!canBeOurs()) return Aim::otherApplication;
  // If a grab took the key, its core event follows the raw event, maybe in another batch.
  if (grabs_.has(event.detail)) connection_.catchUp();
  if (const auto aim = takeAnnouncement(event)) return *aim;
  // The two connections are read independently: the raw event may not have been read yet.
  connection_.catchUp();
  if (const auto aim = takeAnnouncement(event)) return *aim;
  return ownWindows_.hasFocus() ? Aim::ours : Aim::otherApplication;
}

std::optional<X11InputMonitor::Aim> X11InputMonitor::takeAnnouncement(const DeviceEvent& event) {
  while (!announcedKeys_.empty()) {
    const AnnouncedKey key = announcedKeys_.front();
    if (isLater(key.time, event.time)) break;
    announcedKeys_.pop_front();
    if (key.time == event.time && key.keycode == event.detail) return key.aim;
  }
  return std::nullopt;
}

// While a button is down the server sends motion and releases to the window of the press, wherever
// the pointer is.
X11InputMonitor::Aim X11InputMonitor::aimOfPointer(const DeviceEvent& event) {
  const bool grabbed = (event.state & heldButtons) != 0;
  if (grabbed && pressAim_ != Aim::unknown) return pressAim_;
  const Aim aim = aimAt(event);
  if (event.type == XCB_BUTTON_PRESS && !isWheel(event.detail)) pressAim_ = aim;
  return aim;
}

X11InputMonitor::Aim X11InputMonitor::aimAt(const DeviceEvent& event) const {
  return ownWindows_.isOnTopAt(event.x, event.y) ? Aim::ours : Aim::otherApplication;
}

std::optional<InputEvent> X11InputMonitor::translate(const DeviceEvent& event, double timestamp) {
  InputEvent result;
  result.timestamp = timestamp;
  result.locationInWindow = screens_.fromRoot(event.x, event.y);
  result.modifierFlags = keyboard_.flagsOf(event.state);
  switch (event.type) {
    case XCB_KEY_PRESS:
    case XCB_KEY_RELEASE: {
      const bool isDown = event.type == XCB_KEY_PRESS;
      const auto keyCode = isDown ? keys_.press(event.detail, event.state)
                                  : keys_.release(event.detail, event.state);
      if (!keyCode) return std::nullopt;
      result.type = isDown ? EventType::keyDown : EventType::keyUp;
      result.keyCode = *keyCode;
      return result;
    }
    case XCB_MOTION_NOTIFY:
      // A drag with another button is no kind of event.
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
        if (event.detail == button_number::wheelUp) result.scrollingDeltaY = pixelsPerNotch;
        if (event.detail == button_number::wheelDown) result.scrollingDeltaY = -pixelsPerNotch;
        if (event.detail == button_number::wheelLeft) result.scrollingDeltaX = pixelsPerNotch;
        if (event.detail == button_number::wheelRight) result.scrollingDeltaX = -pixelsPerNotch;
        return result;
      }
      [[fallthrough]];
    case XCB_BUTTON_RELEASE: {
      const bool goesDown = event.type == XCB_BUTTON_PRESS;
      // Presses of other buttons count too: they end a row of clicks.
      result.clickCount = goesDown ? clicks_.press(event.detail, timestamp, event.x, event.y)
                                   : clicks_.release(event.detail);
      const auto button = buttonWithNumber(event.detail);
      if (!button) return std::nullopt;
      result.type = typeOfButton(*button, goesDown);
      return result;
    }
    default:
      return std::nullopt;
  }
}

void X11InputMonitor::deliver(const InputEvent& event) {
  // Handlers may add and remove monitors: added ones get the next event first, removed ones none.
  for (const auto& monitor : std::vector(monitors_)) {
    if (admits(monitor->mask, event.type)) monitor->handler(&event);
  }
}

}  // namespace tapeloop::x11
