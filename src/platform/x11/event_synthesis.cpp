#include "platform/x11/event_synthesis.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <xcb/xcb.h>

#include "platform/x11/buttons.h"

namespace tapeloop::x11 {
namespace {

// The server moves nothing for more notches than anyone could turn; it would only be kept busy.
constexpr std::int64_t mostNotchesAtOnce = 1000;

std::int16_t toPixel(double value) {
  using Limits = std::numeric_limits<std::int16_t>;
  return static_cast<std::int16_t>(
      std::lround(std::clamp<double>(value, Limits::min(), Limits::max())));
}

}  // namespace

// Names its service while that exists.
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
                                     PostedKeys& posted, KeyGrabs& grabs)
    : connection_(connection),
      keyboard_(keyboard),
      state_(state),
      screens_(screens),
      grabs_(grabs),
      devices_(connection, posted),
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
  if (!keyboard_.keycodeOf(keyCode)) return std::nullopt;
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
  const Pixel place = pixelOf(event.position);
  // The server reports a move even to where the pointer already is, and a recording holds no move
  // before each click.
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
  const auto keycode = keyboard_.keycodeOf(event.keyCode);
  if (!keycode) return;
  const std::uint8_t modifiers = keyboard_.realModifiersOf(event.flags);
  // Modifiers that no flag stands for stay as they are, but for Num Lock where it decides what the
  // key does.
  const std::uint8_t numLock =
      keyboard_.dependsOnNumLock(*keycode) ? keyboard_.numLockModifier() : std::uint8_t{0};
  const bool isKeypadKey = event.keyCode != keyCodeWithoutPlace(*keycode);
  state_.lockForPosting(keyboard_.realModifiersOf(modifier_flag::all) | numLock,
                        isKeypadKey ? modifiers | numLock : modifiers);
  grabs_.letThrough(*keycode, modifiers);
  if (!goesDown) {
    devices_.releaseKey(*keycode);
  } else {
    // A press of a key that is down is a repeat; the server ignores one unless the key comes up
    // before it, which is what clients see of an ordinary repeat too.
    if (devices_.isKeyDown(*keycode)) devices_.releaseKey(*keycode);
    devices_.pressKey(*keycode);
  }
  grabs_.closeAgain();
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

Pixel X11EventSynthesis::pixelOf(Point position) const {
  const Point pixel = screens_.toRoot(position);
  return {toPixel(pixel.x), toPixel(pixel.y)};
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
