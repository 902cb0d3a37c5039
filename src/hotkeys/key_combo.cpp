#include "hotkeys/key_combo.h"

#include <limits>

#include "hotkeys/hotkey_modifiers.h"

namespace tapeloop {
namespace {

constexpr const char* keyCodeEntry = "keyCode";
constexpr const char* modifiersEntry = "modifiers";

std::optional<std::uint32_t> unsignedEntry(const Dictionary& dictionary, const char* name) {
  const auto found = dictionary.find(name);
  if (found == dictionary.end()) return std::nullopt;
  const auto* value = std::get_if<std::int64_t>(&found->second);
  if (value == nullptr || *value < 0 || *value > std::numeric_limits<std::uint32_t>::max()) {
    return std::nullopt;
  }
  return static_cast<std::uint32_t>(*value);
}

}  // namespace

KeyCombo::KeyCombo(Key key, std::uint64_t modifierFlags)
    : KeyCombo(keyCodeOf(key), modifierBits(modifierFlags)) {}

std::optional<KeyCombo> KeyCombo::fromDictionary(const Dictionary& dictionary) {
  const auto keyCode = unsignedEntry(dictionary, keyCodeEntry);
  const auto modifiers = unsignedEntry(dictionary, modifiersEntry);
  if (!keyCode || !modifiers) return std::nullopt;
  return KeyCombo(*keyCode, *modifiers);
}

std::uint64_t KeyCombo::modifiers() const {
  return modifierFlags(carbonModifiers);
}

void KeyCombo::setModifiers(std::uint64_t modifierFlags) {
  carbonModifiers = modifierBits(modifierFlags);
}

Dictionary KeyCombo::dictionary() const {
  return {{keyCodeEntry, std::int64_t{carbonKeyCode}},
          {modifiersEntry, std::int64_t{carbonModifiers}}};
}

std::string KeyCombo::displayText() const {
  std::string text = modifierGlyphs(modifiers());
  if (const auto known = key()) text += tapeloop::displayText(*known);
  return text;
}

}  // namespace tapeloop
