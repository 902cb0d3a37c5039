#pragma once

#include <cstdint>
#include <optional>

#include "platform/input_event.h"

namespace tapeloop::x11 {

/// The numbers that X gives to the pointer's buttons. A step of the wheel is a press and a release
/// of one of four buttons.
namespace button_number {
inline constexpr std::uint8_t left = 1;
inline constexpr std::uint8_t right = 3;
inline constexpr std::uint8_t wheelUp = 4;
inline constexpr std::uint8_t wheelDown = 5;
inline constexpr std::uint8_t wheelLeft = 6;
inline constexpr std::uint8_t wheelRight = 7;
}  // namespace button_number

/// A step of the wheel is recorded as this many pixels, and so many are posted as a step.
inline constexpr std::int64_t pixelsPerNotch = 10;

constexpr std::uint8_t numberOf(MouseButton button) {
  switch (button) {
    case MouseButton::left:
      return button_number::left;
    case MouseButton::right:
      return button_number::right;
  }
  return 0;
}
/// Nothing for the wheel and for buttons whose events are not recorded.
constexpr std::optional<MouseButton> buttonWithNumber(std::uint8_t number) {
  for (const EventKind& kind : eventKinds) {
    if (kind.eventClass == EventClass::button && numberOf(kind.button) == number) {
      return kind.button;
    }
  }
  return std::nullopt;
}
constexpr bool isWheel(std::uint8_t number) {
  return number >= button_number::wheelUp && number <= button_number::wheelRight;
}

}  // namespace tapeloop::x11
