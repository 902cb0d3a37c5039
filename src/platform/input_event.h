#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/screens.h"

namespace tapeloop {

/// The platform's event type numbers. Other numbers may occur in an `InputEvent` and mean kinds of
/// input that are neither captured nor posted.
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

/// Bit n admits the event type with number n.
using EventMask = std::uint64_t;

/// The bits of `InputEvent::modifierFlags` and of a synthetic event's flags.
namespace modifier_flag {
inline constexpr std::uint64_t capsLock = 0x10000;
inline constexpr std::uint64_t shift = 0x20000;
inline constexpr std::uint64_t control = 0x40000;
inline constexpr std::uint64_t option = 0x80000;
inline constexpr std::uint64_t command = 0x100000;
inline constexpr std::uint64_t function = 0x800000;
inline constexpr std::uint64_t all = capsLock | shift | control | option | command | function;
/// One that none of these stands for is held. Only events of the program's own windows tell of it.
inline constexpr std::uint64_t unnamed = 0x1;
}  // namespace modifier_flag

/// The virtual key code of the place of Escape.
inline constexpr std::uint16_t escapeKeyCode = 53;

/// The names of the flags in `modifiers`, joined without a separator, in the order in which
/// recordings write them: ".shift.command".
std::string modifierNames(std::uint64_t modifiers);
/// The flags whose names occur anywhere in `names`.
std::uint64_t modifiersNamed(std::string_view names);

/// One input event as an `InputMonitor` delivers it.
struct InputEvent {
  EventType type = EventType::mouseMoved;
  std::uint16_t keyCode = 0;  ///< Virtual key code of a key event: a place on the keyboard.
  double timestamp = 0;       ///< Seconds since system start-up.
  Point locationInWindow;     ///< Position of the pointer on the screen.
  std::uint64_t modifierFlags = 0;
  double scrollingDeltaX = 0;  ///< Pixels; positive scrolls to the left.
  double scrollingDeltaY = 0;  ///< Pixels; positive scrolls up.
  std::int64_t clickCount = 0;
  friend bool operator==(const InputEvent&, const InputEvent&) = default;
};

}  // namespace tapeloop
