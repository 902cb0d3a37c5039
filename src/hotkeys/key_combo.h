#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>

#include "hotkeys/key.h"

namespace tapeloop {

/// A value of the dictionary form, as far as it matters here: an integer, or something else.
using DictionaryValue = std::variant<std::int64_t, bool, double, std::string>;
using Dictionary = std::map<std::string, DictionaryValue>;

/// A key with modifiers, as the hotkey service takes them.
struct KeyCombo {
  std::uint32_t carbonKeyCode = 0;
  std::uint32_t carbonModifiers = 0;  ///< Modifier bits.

  KeyCombo() = default;
  KeyCombo(std::uint32_t keyCode, std::uint32_t modifierBits)
      : carbonKeyCode(keyCode), carbonModifiers(modifierBits) {}
  KeyCombo(Key key, std::uint64_t modifierFlags);
  /// Nothing unless "keyCode" and "modifiers" are both there and are integers of 32 bits.
  static std::optional<KeyCombo> fromDictionary(const Dictionary& dictionary);

  [[nodiscard]] std::optional<Key> key() const { return keyWithCode(carbonKeyCode); }
  void setKey(std::optional<Key> key) { carbonKeyCode = key ? keyCodeOf(*key) : 0; }
  /// Modifier flags.
  [[nodiscard]] std::uint64_t modifiers() const;
  void setModifiers(std::uint64_t modifierFlags);

  [[nodiscard]] Dictionary dictionary() const;
  /// The modifiers alone when the code belongs to no key. UTF-8.
  [[nodiscard]] std::string displayText() const;

  friend bool operator==(const KeyCombo&, const KeyCombo&) = default;
};

}  // namespace tapeloop
