#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tapeloop::x11 {

/// A key code that stands for an X keycode and no place: of a key that has no virtual key code of
/// its own, or of one of the keypad that is posted without Num Lock.
constexpr std::uint16_t keyCodeWithoutPlace(std::uint8_t keycode) {
  return static_cast<std::uint16_t>(0x100 + keycode);
}

/// The virtual key code of the place on the keyboard that the XKB key name (such as "AC01") stands
/// for.
std::optional<std::uint16_t> virtualKeyCode(std::string_view xkbKeyName);

}  // namespace tapeloop::x11
