#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tapeloop {

/// The keys that a hotkey can name, by their places on an ANSI keyboard.
enum class Key : std::uint8_t {
  // clang-format off
  a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t, u, v, w, x, y, z,
  zero, one, two, three, four, five, six, seven, eight, nine,
  period, quote, rightBracket, semicolon, slash, backslash, comma, equal, grave, leftBracket, minus,
  space, tab, return_,
  command, rightCommand, option, rightOption, control, rightControl, shift, rightShift, function,
  capsLock,
  pageUp, pageDown, home, end, upArrow, rightArrow, downArrow, leftArrow,
  f1, f2, f3, f4, f5, f6, f7, f8, f9, f10, f11, f12, f13, f14, f15, f16, f17, f18, f19, f20,
  keypad0, keypad1, keypad2, keypad3, keypad4, keypad5, keypad6, keypad7, keypad8, keypad9,
  keypadClear, keypadDecimal, keypadDivide, keypadEnter, keypadEquals, keypadMinus, keypadMultiply,
  keypadPlus,
  escape, delete_, forwardDelete, help, volumeUp, volumeDown, mute,
  // clang-format on
};

/// The virtual key code of the key's place.
[[nodiscard]] std::uint32_t keyCodeOf(Key key);
/// Nothing for a code that belongs to no key.
[[nodiscard]] std::optional<Key> keyWithCode(std::uint32_t keyCode);
/// What is printed on the key, UTF-8. Lives for ever.
[[nodiscard]] std::string_view displayText(Key key);
/// One of the keys F1 to F20.
[[nodiscard]] constexpr bool isFunctionKey(Key key) {
  return key >= Key::f1 && key <= Key::f20;
}

}  // namespace tapeloop
