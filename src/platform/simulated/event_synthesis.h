#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "platform/event_synthesis.h"
#include "platform/simulated/run_loop.h"

namespace tapeloop::simulated {

/// A posted event and the virtual time at which it was posted.
struct PostedEvent {
  double time = 0;
  SyntheticEvent event;
  friend bool operator==(const PostedEvent&, const PostedEvent&) = default;
};

/// Records what is posted, and which keys and buttons are down after it.
class RecordedEventSynthesis final : public EventSynthesis {
 public:
  explicit RecordedEventSynthesis(const VirtualRunLoop& runLoop);

  std::optional<SyntheticEvent> CGEventCreateMouseEvent(EventType type, Point position,
                                                        MouseButton button) override;
  std::optional<SyntheticEvent> CGEventCreateKeyboardEvent(std::uint16_t keyCode,
                                                           bool keyDown) override;
  std::optional<SyntheticEvent> CGEventCreateScrollWheelEvent2(ScrollUnit units,
                                                               std::uint32_t wheelCount,
                                                               std::int32_t wheel1,
                                                               std::int32_t wheel2,
                                                               std::int32_t wheel3) override;
  void CGEventPost(TapLocation tap, const SyntheticEvent& event) override;
  [[nodiscard]] std::shared_ptr<PostingSession> beginPosting() override;

  /// Makes the creation of events of this type fail.
  void refuse(EventType type) { refused_.insert(type); }
  void refuseAll() { refusesAll_ = true; }
  /// The flags that a keyboard event has when it is created.
  void setFlagsAtCreation(std::uint64_t flags) { flagsAtCreation_ = flags; }

  [[nodiscard]] const std::vector<PostedEvent>& posted() const { return state_->posted; }
  /// What was released when the last session was destroyed.
  [[nodiscard]] const std::vector<PostedEvent>& released() const { return state_->released; }
  [[nodiscard]] const std::set<std::uint16_t>& heldKeys() const { return state_->keys; }
  [[nodiscard]] const std::set<MouseButton>& heldButtons() const { return state_->buttons; }
  [[nodiscard]] bool hasSession() const { return !state_->session.expired(); }

 private:
  class Session;
  struct State {
    const VirtualRunLoop* runLoop;
    std::vector<PostedEvent> posted;
    std::vector<PostedEvent> released;
    std::set<std::uint16_t> keys;
    std::set<MouseButton> buttons;
    std::weak_ptr<Session>
        session;  // shared by all holders, so that it is destroyed with the last one
  };
  [[nodiscard]] bool refuses(EventType type) const;

  const std::shared_ptr<State> state_;
  std::set<EventType> refused_;
  bool refusesAll_ = false;
  std::uint64_t flagsAtCreation_ = 0;
};

}  // namespace tapeloop::simulated
