#include "hotkeys/key_combo.h"

#include <array>
#include <utility>

#include "platform/hotkey_service.h"

namespace tapeloop {
namespace {

struct Entry {
  std::uint8_t code;
  std::string_view text;
  std::string_view nameInAnyLayout = {};
};
constexpr Entry named(std::uint8_t code, std::string_view text) {
  return {code, text, text};
}
// The text of a function key begins with a private-use character that makes the text system draw
// the next characters as one glyph: two after U+F860, three after U+F861.
constexpr Entry functionKey(std::uint8_t code, std::string_view text) {
  constexpr std::size_t bytesOfPrivateCharacter = 3;
  return {code, text, text.substr(bytesOfPrivateCharacter)};
}

// In the order of `Key`.
constexpr Entry keys[] = {
    // clang-format off
    {0, "A"}, {11, "B"}, {8, "C"}, {2, "D"}, {14, "E"}, {3, "F"}, {5, "G"}, {4, "H"}, {34, "I"},
    {38, "J"}, {40, "K"}, {37, "L"}, {46, "M"}, {45, "N"}, {31, "O"}, {35, "P"}, {12, "Q"},
    {15, "R"}, {1, "S"}, {17, "T"}, {32, "U"}, {9, "V"}, {13, "W"}, {7, "X"}, {16, "Y"}, {6, "Z"},
    {29, "0"}, {18, "1"}, {19, "2"}, {20, "3"}, {21, "4"}, {23, "5"}, {22, "6"}, {26, "7"},
    {28, "8"}, {25, "9"}, {47, "."}, {39, "\""}, {30, "]"}, {41, ";"}, {44, "/"}, {42, "\\"},
    {43, ","}, {24, "="}, {50, "`"}, {33, "["}, {27, "-"}, {49, "\u2423", "\u23b5"},
    named(48, "\u21e5"), {36, "\u21a9\ufe0e", "\u21a9"}, {55, "\u2318"}, {54, "\u2318"},
    {58, "\u2325"}, {61, "\u2325"}, {59, "\u2303"}, {62, "\u2303"}, {56, "\u21e7"}, {60, "\u21e7"},
    {63, "fn"}, {57, "\u21ea"}, named(116, "\u21de"), named(121, "\u21df"), named(115, "\u2196"),
    named(119, "\u2198"), named(126, "\u2191"), named(124, "\u2192"), named(125, "\u2193"),
    named(123, "\u2190"), functionKey(122, "\uf860F1"), functionKey(120, "\uf860F2"),
    functionKey(99, "\uf860F3"), functionKey(118, "\uf860F4"), functionKey(96, "\uf860F5"),
    functionKey(97, "\uf860F6"), functionKey(98, "\uf860F7"), functionKey(100, "\uf860F8"),
    functionKey(101, "\uf860F9"), functionKey(109, "\uf861F10"), functionKey(103, "\uf861F11"),
    functionKey(111, "\uf861F12"), functionKey(105, "\uf861F13"), functionKey(107, "\uf861F14"),
    functionKey(113, "\uf861F15"), functionKey(106, "\uf861F16"), functionKey(64, "\uf861F17"),
    functionKey(79, "\uf861F18"), functionKey(80, "\uf861F19"), functionKey(90, "\uf861F20"),
    {82, "0"}, {83, "1"}, {84, "2"}, {85, "3"}, {86, "4"}, {87, "5"}, {88, "6"}, {89, "7"},
    {91, "8"}, {92, "9"}, {71, "\u2327"}, {65, "."}, {75, "/"}, {76, "\u21a9\ufe0e"}, {81, "="},
    {78, "-"}, {67, "\U0001d5d1"}, {69, "+"}, named(53, "\u238b"), named(51, "\u232b"),
    named(117, "\u2326"), named(114, "?\u20dd"), {72, "\U0001f50a"}, {73, "\U0001f509"},
    {74, "\U0001f507"},
    // clang-format on
};
constexpr std::size_t keyCount = std::size(keys);
static_assert(keyCount == static_cast<std::size_t>(Key::mute) + 1);

constexpr std::size_t codeCount = 127;
constexpr std::uint8_t noKey = 0xff;

constexpr auto keyOfCode = [] {
  std::array<std::uint8_t, codeCount> table{};
  table.fill(noKey);
  for (std::size_t i = 0; i < keyCount; ++i) table[keys[i].code] = static_cast<std::uint8_t>(i);
  return table;
}();

constexpr const char* keyCodeEntry = "keyCode";
constexpr const char* modifiersEntry = "modifiers";

std::optional<std::uint32_t> unsignedEntry(const Dictionary& dictionary, const char* name) {
  const auto found = dictionary.find(name);
  if (found == dictionary.end()) return std::nullopt;
  const auto* value = std::get_if<std::int64_t>(&found->second);
  if (value == nullptr || !std::in_range<std::uint32_t>(*value)) return std::nullopt;
  return static_cast<std::uint32_t>(*value);
}

}  // namespace

std::uint32_t virtualKey(Key key) {
  return keys[static_cast<std::size_t>(key)].code;
}

std::optional<Key> keyWithCode(std::uint32_t keyCode) {
  if (keyCode >= codeCount || keyOfCode[keyCode] == noKey) return std::nullopt;
  return static_cast<Key>(keyOfCode[keyCode]);
}

std::string_view displayText(Key key) {
  return keys[static_cast<std::size_t>(key)].text;
}

std::string_view nameInAnyLayout(Key key) {
  return keys[static_cast<std::size_t>(key)].nameInAnyLayout;
}

std::string modifierGlyphs(std::uint64_t flags) {
  std::string glyphs;
  for (const HotKeyModifier& each : hotKeyModifiers) {
    if (flags & each.flag) glyphs += each.glyph;
  }
  return glyphs;
}

KeyCombo::KeyCombo(Key key, std::uint64_t flags) : KeyCombo(virtualKey(key), modifierBits(flags)) {}

std::optional<KeyCombo> KeyCombo::fromDictionary(const Dictionary& dictionary) {
  const auto keyCode = unsignedEntry(dictionary, keyCodeEntry);
  const auto modifiers = unsignedEntry(dictionary, modifiersEntry);
  if (!keyCode || !modifiers) return std::nullopt;
  return KeyCombo(*keyCode, *modifiers);
}

std::uint64_t KeyCombo::modifiers() const {
  return modifierFlags(carbonModifiers);
}

void KeyCombo::setModifiers(std::uint64_t flags) {
  carbonModifiers = modifierBits(flags);
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
