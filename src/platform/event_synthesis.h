#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/input_event.h"

namespace tapeloop {

enum class ScrollUnit : std::uint32_t { pixel = 0 };
/// Where a posted event enters the input stream: at the point where hardware input does.
enum class TapLocation : std::uint32_t { hid = 0 };
enum class EventField : std::uint32_t { mouseClickState = 1 };

/// An input event that has been created and not yet posted.
struct SyntheticEvent {
  EventType type = EventType::mouseMoved;
  Point position;  ///< Mouse events. Origin at the primary screen's top-left corner, y downwards.
  MouseButton button = MouseButton::left;
  std::int64_t clickState = 0;
  std::uint16_t keyCode = 0;
  std::uint64_t flags = 0;  ///< Key events: the modifiers that are down while it is delivered.
  std::int32_t wheel1 = 0;  ///< Scroll events: pixels up.
  std::int32_t wheel2 = 0;  ///< Scroll events: pixels to the left.
  friend bool operator==(const SyntheticEvent&, const SyntheticEvent&) = default;
};

// Nothing reads the flags so far: posting replaces all of them.
[[nodiscard]] inline std::uint64_t CGEventGetFlags(const SyntheticEvent& event) {
  return event.flags;
}
inline void CGEventSetFlags(SyntheticEvent& event, std::uint64_t flags) {
  event.flags = flags;
}
inline void CGEventSetIntegerValueField(SyntheticEvent& event, EventField, std::int64_t value) {
  event.clickState = value;
}

/// Creates synthetic input events and posts them into the desktop's input stream.
class EventSynthesis {
 public:
  virtual ~EventSynthesis() = default;

  // Each of these returns nothing if the platform can't create such an event.
  virtual std::optional<SyntheticEvent> CGEventCreateMouseEvent(EventType type, Point position,
                                                                MouseButton button) = 0;
  virtual std::optional<SyntheticEvent> CGEventCreateKeyboardEvent(std::uint16_t keyCode,
                                                                   bool keyDown) = 0;
  virtual std::optional<SyntheticEvent> CGEventCreateScrollWheelEvent2(ScrollUnit units,
                                                                       std::uint32_t wheelCount,
                                                                       std::int32_t wheel1,
                                                                       std::int32_t wheel2,
                                                                       std::int32_t wheel3) = 0;

  /// Applications receive the event as if hardware had sent it.
  virtual void CGEventPost(TapLocation tap, const SyntheticEvent& event) = 0;

  /// While any session exists, keys and buttons that were posted down stay down until their release
  /// is posted. When the last session is destroyed, those that are still down are released. A
  /// session that is destroyed after the service does nothing.
  class PostingSession {
   public:
    virtual ~PostingSession() = default;
  };
  [[nodiscard]] virtual std::shared_ptr<PostingSession> beginPosting() = 0;
};

}  // namespace tapeloop
