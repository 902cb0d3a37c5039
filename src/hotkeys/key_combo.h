#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace tapeloop {

/// Keys by their places on an ANSI keyboard, whatever they write.
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

/// The virtual key code of the key.
[[nodiscard]] std::uint32_t virtualKey(Key key);
/// Nothing if no key has this code.
[[nodiscard]] std::optional<Key> keyWithCode(std::uint32_t keyCode);
/// The label of the key, UTF-8.
[[nodiscard]] std::string_view displayText(Key key);
/// How shortcuts show a key that writes nothing visible, such as "F5". Empty for other keys, which
/// are shown as what they write in the current layout.
[[nodiscard]] std::string_view nameInAnyLayout(Key key);
/// One of the keys F1 to F20.
[[nodiscard]] constexpr bool isFunctionKey(Key key) {
  return key >= Key::f1 && key <= Key::f20;
}

/// The glyphs of the modifiers in `flags`, UTF-8.
[[nodiscard]] std::string modifierGlyphs(std::uint64_t flags);

// The dictionary form of a combination, for code that stores one in a property list. The program
// itself stores only named shortcuts, as JSON.
using DictionaryValue = std::variant<std::int64_t, bool, double, std::string>;
using Dictionary = std::map<std::string, DictionaryValue>;

/// A key with modifiers, in the numbers of the hotkey service.
struct KeyCombo {
  std::uint32_t carbonKeyCode = 0;
  std::uint32_t carbonModifiers = 0;  ///< Modifier bits.

  KeyCombo() = default;
  KeyCombo(std::uint32_t keyCode, std::uint32_t modifierBits)
      : carbonKeyCode(keyCode), carbonModifiers(modifierBits) {}
  KeyCombo(Key key, std::uint64_t flags);
  /// Nothing unless "keyCode" and "modifiers" are both present and unsigned integers of 32 bits.
  static std::optional<KeyCombo> fromDictionary(const Dictionary& dictionary);

  [[nodiscard]] std::optional<Key> key() const { return keyWithCode(carbonKeyCode); }
  void setKey(std::optional<Key> key) { carbonKeyCode = key ? virtualKey(*key) : 0; }
  /// Modifier flags.
  [[nodiscard]] std::uint64_t modifiers() const;
  void setModifiers(std::uint64_t flags);

  [[nodiscard]] Dictionary dictionary() const;
  /// UTF-8. The modifiers alone if no key has the code.
  [[nodiscard]] std::string displayText() const;

  friend bool operator==(const KeyCombo&, const KeyCombo&) = default;
};

}  // namespace tapeloop
