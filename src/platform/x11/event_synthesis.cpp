#include "platform/x11/event_synthesis.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <xcb/xcb.h>

#include "platform/x11/buttons.h"

namespace tapeloop::x11 {
namespace {

// More would only keep the server busy: no user turns a wheel as far as this.
constexpr std::int64_t mostNotchesAtOnce = 1000;

std::int16_t toPixel(double value) {
  using Limits = std::numeric_limits<std::int16_t>;
  return static_cast<std::int16_t>(
      std::lround(std::clamp<double>(value, Limits::min(), Limits::max())));
}

}  // namespace

// May outlive its service, which then detaches it.
class X11EventSynthesis::Session final : public PostingSession {
 public:
  explicit Session(X11EventSynthesis& service) : service_(&service) {}
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() override {
    if (service_ != nullptr) service_->endPosting();
  }
  void detach() { service_ = nullptr; }

 private:
  X11EventSynthesis* service_;
};

X11EventSynthesis::X11EventSynthesis(Connection& connection, const KeyboardMap& keyboard,
                                     KeyboardState& state, const X11Screens& screens,
                                     XtestDevices& devices, KeyGrabs& grabs)
    : connection_(connection),
      keyboard_(keyboard),
      state_(state),
      screens_(screens),
      devices_(devices),
      grabs_(grabs),
      pointer_(connection) {}

X11EventSynthesis::~X11EventSynthesis() {
  if (const auto session = session_.lock()) {
    session->detach();
    endPosting();
  }
}

std::optional<SyntheticEvent> X11EventSynthesis::CGEventCreateMouseEvent(EventType type,
                                                                         Point position,
                                                                         MouseButton button) {
  if (std::isnan(position.x) || std::isnan(position.y)) return std::nullopt;
  SyntheticEvent event;
  event.type = type;
  event.position = position;
  event.button = button;
  return event;
}

std::optional<SyntheticEvent> X11EventSynthesis::CGEventCreateKeyboardEvent(std::uint16_t keyCode,
                                                                            bool keyDown) {
  if (!keyboard_.xKeycode(keyCode)) return std::nullopt;
  SyntheticEvent event;
  event.type = keyDown ? EventType::keyDown : EventType::keyUp;
  event.keyCode = keyCode;
  return event;
}

std::optional<SyntheticEvent> X11EventSynthesis::CGEventCreateScrollWheelEvent2(
    ScrollUnit, std::uint32_t wheelCount, std::int32_t wheel1, std::int32_t wheel2, std::int32_t) {
  SyntheticEvent event;
  event.type = EventType::scrollWheel;
  if (wheelCount > 0) event.wheel1 = wheel1;
  if (wheelCount > 1) event.wheel2 = wheel2;
  return event;
}

void X11EventSynthesis::CGEventPost(TapLocation, const SyntheticEvent& event) {
  const EventKind* const kind = kindOf(event.type);
  if (kind == nullptr) return;
  switch (kind->eventClass) {
    case EventClass::motion:
    case EventClass::button:
      postMouse(event, *kind);
      break;
    case EventClass::scroll:
      postScroll(event);
      break;
    case EventClass::key:
      postKey(event, kind->goesDown);
      break;
  }
  xcb_flush(connection_.xcb());
}

void X11EventSynthesis::postMouse(const SyntheticEvent& event, const EventKind& kind) {
  const bool isMotion = kind.eventClass == EventClass::motion;
  const Point pixel = screens_.toRoot(event.position);
  const Pixel place{toPixel(pixel.x), toPixel(pixel.y)};
  // The server reports a move even to where the pointer is already. A click was recorded without a
  // move before it.
  if (isMotion || !pointer_.isAt(place)) {
    devices_.moveTo(place.x, place.y);
    pointer_.movedTo(place);
  }
  if (isMotion) return;
  if (kind.goesDown) {
    devices_.pressButton(numberOf(event.button));
  } else {
    devices_.releaseButton(numberOf(event.button));
  }
}

void X11EventSynthesis::postKey(const SyntheticEvent& event, bool goesDown) {
  // The keyboard may have changed since the event was made.
  const auto keycode = keyboard_.xKeycode(event.keyCode);
  if (!keycode) return;
  const std::uint8_t modifiers = keyboard_.realModifiersOf(event.flags);
  // Modifiers without a flag stay as they are, except Num Lock for a key that depends on it: a key
  // of the keypad that is recorded by its place was used with Num Lock.
  const std::uint8_t numLock =
      keyboard_.dependsOnNumLock(*keycode) ? keyboard_.numLockModifier() : std::uint8_t{0};
  const bool isKeypadKey = event.keyCode != virtualKeyWithoutPlace(*keycode);
  state_.lockForPosting(keyboard_.realModifiersOf(modifier_flag::all) | numLock,
                        isKeypadKey ? modifiers | numLock : modifiers);
  grabs_.beginPosting(*keycode, modifiers);
  if (!goesDown) {
    devices_.releaseKey(*keycode);
  } else {
    // The server ignores a press of a key that is down. So a recorded repeat is posted as a release
    // and a press, as which clients see the repeats of a keyboard, too.
    if (devices_.isKeyDown(*keycode)) devices_.releaseKey(*keycode);
    devices_.pressKey(*keycode);
  }
  grabs_.endPosting();
  state_.unlockAfterPosting();
}

void X11EventSynthesis::postScroll(const SyntheticEvent& event) {
  postNotches(pixelsUp_, event.wheel1, button_number::wheelUp, button_number::wheelDown);
  postNotches(pixelsLeft_, event.wheel2, button_number::wheelLeft, button_number::wheelRight);
}

void X11EventSynthesis::postNotches(std::int64_t& pixels, std::int32_t added, std::uint8_t forward,
                                    std::uint8_t backward) {
  pixels += added;
  const std::int64_t notches = pixels / pixelsPerNotch;
  pixels -= notches * pixelsPerNotch;
  const std::uint8_t button = notches > 0 ? forward : backward;
  for (std::int64_t i = std::min(std::abs(notches), mostNotchesAtOnce); i > 0; --i) {
    devices_.pressButton(button);
    devices_.releaseButton(button);
  }
}

std::shared_ptr<EventSynthesis::PostingSession> X11EventSynthesis::beginPosting() {
  if (auto session = session_.lock()) return session;
  auto session = std::make_shared<Session>(*this);
  session_ = session;
  pixelsUp_ = 0;
  pixelsLeft_ = 0;
  pointer_.watch(true);
  devices_.hold();
  xcb_flush(connection_.xcb());
  return session;
}

void X11EventSynthesis::endPosting() {
  pointer_.watch(false);
  devices_.release();
  xcb_flush(connection_.xcb());
}

}  // namespace tapeloop::x11
