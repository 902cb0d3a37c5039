#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/screens.h"

namespace tapeloop {

/// The platform's event type numbers. An `InputEvent` may have other numbers, for input that is
/// neither captured nor posted.
enum class EventType : std::uint32_t {
  leftMouseDown = 1,
  leftMouseUp = 2,
  rightMouseDown = 3,
  rightMouseUp = 4,
  mouseMoved = 5,
  leftMouseDragged = 6,
  keyDown = 10,
  keyUp = 11,
  scrollWheel = 22,
};

/// Determines which properties of an event are recorded, and how it is posted.
enum class EventClass : std::uint8_t { motion, button, scroll, key };
enum class MouseButton : std::uint32_t { left = 0, right = 1 };

/// One kind of event that is captured, recorded and posted.
struct EventKind {
  EventType type;
  std::string_view name;  ///< In recordings.
  EventClass eventClass;
  bool goesDown = false;  ///< A press of a button or a key.
  MouseButton button = MouseButton::left;
};

/// Every kind, in the order in which a row that names several is posted. Capture, recordings,
/// posting and the release of what is held look everything about a kind up here.
inline constexpr std::array eventKinds{
    EventKind{EventType::mouseMoved, ".mouseMoved", EventClass::motion},
    EventKind{EventType::rightMouseDown, ".rightMouseDown", EventClass::button, true,
              MouseButton::right},
    EventKind{EventType::rightMouseUp, ".rightMouseUp", EventClass::button, false,
              MouseButton::right},
    EventKind{EventType::leftMouseDown, ".leftMouseDown", EventClass::button, true},
    EventKind{EventType::leftMouseUp, ".leftMouseUp", EventClass::button, false},
    EventKind{EventType::leftMouseDragged, ".leftMouseDragged", EventClass::motion},
    EventKind{EventType::scrollWheel, ".scrollWheel", EventClass::scroll},
    EventKind{EventType::keyDown, ".keyDown", EventClass::key, true},
    EventKind{EventType::keyUp, ".keyUp", EventClass::key, false},
};

/// Null for other types.
constexpr const EventKind* kindOf(EventType type) {
  for (const EventKind& kind : eventKinds) {
    if (kind.type == type) return &kind;
  }
  return nullptr;
}
/// The event type of a press or a release of `button`.
constexpr EventType typeOfButton(MouseButton button, bool goesDown) {
  for (const EventKind& kind : eventKinds) {
    const bool isButton = kind.eventClass == EventClass::button && kind.button == button;
    if (isButton && kind.goesDown == goesDown) return kind.type;
  }
  return {};
}

/// Bit n admits the event type with number n.
using EventMask = std::uint64_t;
constexpr EventMask maskOf(EventType type) {
  return EventMask{1} << static_cast<std::uint32_t>(type);
}
constexpr bool admits(EventMask mask, EventType type) {
  return (mask & maskOf(type)) != 0;
}
/// Admits every kind.
inline constexpr EventMask allEventKinds = [] {
  EventMask mask = 0;
  for (const EventKind& kind : eventKinds) mask |= maskOf(kind.type);
  return mask;
}();

/// The bits of `InputEvent::modifierFlags` and of a synthetic event's flags.
namespace modifier_flag {
inline constexpr std::uint64_t capsLock = 0x10000;
inline constexpr std::uint64_t shift = 0x20000;
inline constexpr std::uint64_t control = 0x40000;
inline constexpr std::uint64_t option = 0x80000;
inline constexpr std::uint64_t command = 0x100000;
inline constexpr std::uint64_t function = 0x800000;
inline constexpr std::uint64_t all = capsLock | shift | control | option | command | function;
/// Any modifier other than these is held. Set only in events of the program's own windows.
inline constexpr std::uint64_t unnamed = 0x1;
}  // namespace modifier_flag

/// The virtual key code of Escape.
inline constexpr std::uint16_t escapeKeyCode = 53;

/// The names of the flags in `modifiers`, joined without a separator in the order of recordings:
/// ".shift.command".
std::string modifierNames(std::uint64_t modifiers);
/// The flags whose names occur anywhere in `names`.
std::uint64_t modifiersNamed(std::string_view names);

/// One input event as an `InputMonitor` delivers it.
struct InputEvent {
  EventType type = EventType::mouseMoved;
  std::uint16_t keyCode = 0;  ///< Virtual key code, of key events.
  double timestamp = 0;       ///< Seconds since system start-up.
  Point locationInWindow;     ///< Position of the pointer on the screen.
  std::uint64_t modifierFlags = 0;
  double scrollingDeltaX = 0;  ///< Pixels; positive scrolls to the left.
  double scrollingDeltaY = 0;  ///< Pixels; positive scrolls up.
  std::int64_t clickCount = 0;
  friend bool operator==(const InputEvent&, const InputEvent&) = default;
};

}  // namespace tapeloop
