#include "platform/simulated/event_synthesis.h"

#include <utility>

namespace tapeloop::simulated {

// May be destroyed after the service, and then releases nothing.
class RecordedEventSynthesis::Session final : public PostingSession {
 public:
  explicit Session(std::weak_ptr<State> state) : state_(std::move(state)) {}
  ~Session() override {
    const auto state = state_.lock();
    if (!state) return;
    const double time = state->runLoop->now();
    for (const MouseButton button : std::exchange(state->buttons, {})) {
      SyntheticEvent event;
      event.type = typeOfButton(button, false);
      event.button = button;
      state->released.push_back({time, event});
    }
    for (const std::uint16_t key : std::exchange(state->keys, {})) {
      SyntheticEvent event;
      event.type = EventType::keyUp;
      event.keyCode = key;
      state->released.push_back({time, event});
    }
  }

 private:
  std::weak_ptr<State> state_;
};

RecordedEventSynthesis::RecordedEventSynthesis(const VirtualRunLoop& runLoop)
    : state_(std::make_shared<State>(State{&runLoop, {}, {}, {}, {}, {}})) {}

std::optional<SyntheticEvent> RecordedEventSynthesis::CGEventCreateMouseEvent(EventType type,
                                                                              Point position,
                                                                              MouseButton button) {
  if (refuses(type)) return std::nullopt;
  SyntheticEvent event;
  event.type = type;
  event.position = position;
  event.button = button;
  return event;
}

std::optional<SyntheticEvent> RecordedEventSynthesis::CGEventCreateKeyboardEvent(
    std::uint16_t keyCode, bool keyDown) {
  const EventType type = keyDown ? EventType::keyDown : EventType::keyUp;
  if (refuses(type)) return std::nullopt;
  SyntheticEvent event;
  event.type = type;
  event.keyCode = keyCode;
  event.flags = flagsAtCreation_;
  return event;
}

std::optional<SyntheticEvent> RecordedEventSynthesis::CGEventCreateScrollWheelEvent2(
    ScrollUnit, std::uint32_t wheelCount, std::int32_t wheel1, std::int32_t wheel2, std::int32_t) {
  if (refuses(EventType::scrollWheel)) return std::nullopt;
  SyntheticEvent event;
  event.type = EventType::scrollWheel;
  event.wheel1 = wheelCount > 0 ? wheel1 : 0;
  event.wheel2 = wheelCount > 1 ? wheel2 : 0;
  return event;
}

void RecordedEventSynthesis::CGEventPost(TapLocation, const SyntheticEvent& event) {
  state_->posted.push_back({state_->runLoop->now(), event});
  const EventKind* const kind = kindOf(event.type);
  const auto hold = [kind](auto& held, auto what) {
    if (kind->goesDown) {
      held.insert(what);
    } else {
      held.erase(what);
    }
  };
  if (kind != nullptr && kind->eventClass == EventClass::button)
    hold(state_->buttons, event.button);
  if (kind != nullptr && kind->eventClass == EventClass::key) hold(state_->keys, event.keyCode);
}

std::shared_ptr<EventSynthesis::PostingSession> RecordedEventSynthesis::beginPosting() {
  auto session = state_->session.lock();
  if (!session) {
    session = std::make_shared<Session>(state_);
    state_->session = session;
  }
  return session;
}

bool RecordedEventSynthesis::refuses(EventType type) const {
  return refusesAll_ || refused_.contains(type);
}

}  // namespace tapeloop::simulated
