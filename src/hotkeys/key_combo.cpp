#include "hotkeys/key_combo.h"

#include <array>
#include <limits>

#include "platform/hotkey_service.h"
#include "platform/input_event.h"

namespace tapeloop {
namespace {

struct Entry {
  std::uint8_t code;
  std::string_view text;
};

// In the order of `Key`. Before a function key's name stands a private character that tells the
// text system to draw what follows, two characters or three, as one.
constexpr Entry keys[] = {
    // clang-format off
    {0, "A"}, {11, "B"}, {8, "C"}, {2, "D"}, {14, "E"}, {3, "F"}, {5, "G"}, {4, "H"}, {34, "I"},
    {38, "J"}, {40, "K"}, {37, "L"}, {46, "M"}, {45, "N"}, {31, "O"}, {35, "P"}, {12, "Q"},
    {15, "R"}, {1, "S"}, {17, "T"}, {32, "U"}, {9, "V"}, {13, "W"}, {7, "X"}, {16, "Y"}, {6, "Z"},
    {29, "0"}, {18, "1"}, {19, "2"}, {20, "3"}, {21, "4"}, {23, "5"}, {22, "6"}, {26, "7"},
    {28, "8"}, {25, "9"},
    {47, "."}, {39, "\""}, {30, "]"}, {41, ";"}, {44, "/"}, {42, "\\"}, {43, ","}, {24, "="},
    {50, "`"}, {33, "["}, {27, "-"},
    {49, "\u2423"}, {48, "\u21e5"}, {36, "\u21a9\ufe0e"},
    {55, "\u2318"}, {54, "\u2318"}, {58, "\u2325"}, {61, "\u2325"}, {59, "\u2303"},
    {62, "\u2303"}, {56, "\u21e7"}, {60, "\u21e7"}, {63, "fn"}, {57, "\u21ea"},
    {116, "\u21de"}, {121, "\u21df"}, {115, "\u2196"}, {119, "\u2198"},
    {126, "\u2191"}, {124, "\u2192"}, {125, "\u2193"}, {123, "\u2190"},
    {122, "\uf860F1"}, {120, "\uf860F2"}, {99, "\uf860F3"}, {118, "\uf860F4"},
    {96, "\uf860F5"}, {97, "\uf860F6"}, {98, "\uf860F7"}, {100, "\uf860F8"}, {101, "\uf860F9"},
    {109, "\uf861F10"}, {103, "\uf861F11"}, {111, "\uf861F12"}, {105, "\uf861F13"},
    {107, "\uf861F14"}, {113, "\uf861F15"}, {106, "\uf861F16"}, {64, "\uf861F17"},
    {79, "\uf861F18"}, {80, "\uf861F19"}, {90, "\uf861F20"},
    {82, "0"}, {83, "1"}, {84, "2"}, {85, "3"}, {86, "4"}, {87, "5"}, {88, "6"}, {89, "7"},
    {91, "8"}, {92, "9"},
    {71, "\u2327"}, {65, "."}, {75, "/"}, {76, "\u21a9\ufe0e"}, {81, "="}, {78, "-"},
    {67, "\U0001d5d1"}, {69, "+"},
    {53, "\u238b"}, {51, "\u232b"}, {117, "\u2326"}, {114, "?\u20dd"},
    {72, "\U0001f50a"}, {73, "\U0001f509"}, {74, "\U0001f507"},
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

struct Modifier {
  std::uint32_t bit;
  std::uint64_t flag;
  const char* glyph;
};

// In the order of the glyphs.
constexpr Modifier modifiers[] = {{controlKey, modifier_flag::control, "\u2303"},
                                  {optionKey, modifier_flag::option, "\u2325"},
                                  {shiftKey, modifier_flag::shift, "\u21e7"},
                                  {cmdKey, modifier_flag::command, "\u2318"}};

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

std::uint32_t keyCodeOf(Key key) {
  return keys[static_cast<std::size_t>(key)].code;
}

std::optional<Key> keyWithCode(std::uint32_t keyCode) {
  if (keyCode >= codeCount || keyOfCode[keyCode] == noKey) return std::nullopt;
  return static_cast<Key>(keyOfCode[keyCode]);
}

std::string_view displayText(Key key) {
  return keys[static_cast<std::size_t>(key)].text;
}

std::uint32_t modifierBits(std::uint64_t flags) {
  std::uint32_t bits = 0;
  for (const auto& each : modifiers) {
    if (flags & each.flag) bits |= each.bit;
  }
  return bits;
}

std::uint64_t modifierFlags(std::uint64_t bits) {
  std::uint64_t flags = 0;
  for (const auto& each : modifiers) {
    if (bits & each.bit) flags |= each.flag;
  }
  return flags;
}

std::string modifierGlyphs(std::uint64_t flags) {
  std::string glyphs;
  for (const auto& each : modifiers) {
    if (flags & each.flag) glyphs += each.glyph;
  }
  return glyphs;
}

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
