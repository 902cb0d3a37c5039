#include <map>
#include <memory>
#include <string>

#include "hotkeys/key_combo.h"
#include "hotkeys/shortcut.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using namespace modifier_flag;

std::string textOfCode(std::uint32_t code) {
  const auto key = keyWithCode(code);
  return key ? std::string(displayText(*key)) : std::string();
}

// The keys once more, by their codes.
constexpr std::string_view writingKeys = "ASDFHGZXCV BQWERYT123465=97-80]OU[IP LJ'K;\\,/NM.  `";
constexpr std::uint32_t functionKeys[] = {122, 120, 99,  118, 96,  97,  98, 100, 101, 109,
                                          103, 111, 105, 107, 113, 106, 64, 79,  80,  90};
constexpr std::uint32_t keypadDigits[] = {82, 83, 84, 85, 86, 87, 88, 89, 91, 92};

TEST(KeyTests, EachKeyHasOneCodeAndItsText) {
  std::size_t keys = 0;
  for (std::uint32_t code = 0; code < 300; ++code) {
    const auto key = keyWithCode(code);
    if (!key) continue;
    ++keys;
    EXPECT_EQ(virtualKey(*key), code);
  }
  EXPECT_EQ(keys, static_cast<std::size_t>(Key::mute) + 1);
  EXPECT_EQ(virtualKey(Key::a), 0u);
  EXPECT_EQ(virtualKey(Key::z), 6u);
  EXPECT_EQ(virtualKey(Key::f1), 122u);
  EXPECT_EQ(virtualKey(Key::escape), 53u);

  for (std::uint32_t code = 0; code < writingKeys.size(); ++code) {
    const char text = writingKeys[code] == '\'' ? '"' : writingKeys[code];
    if (text == ' ') continue;
    EXPECT_EQ(textOfCode(code), std::string(1, text));
  }
  for (std::size_t i = 0; i < std::size(functionKeys); ++i) {
    EXPECT_EQ(textOfCode(functionKeys[i]), (i < 9 ? "\uf860F" : "\uf861F") + std::to_string(i + 1));
  }
  for (std::size_t i = 0; i < std::size(keypadDigits); ++i) {
    EXPECT_EQ(textOfCode(keypadDigits[i]), std::to_string(i));
  }
  std::string others;
  for (const std::uint32_t code :
       {49,  48,  36, 76, 51, 117, 53, 114, 115, 119, 116, 121, 123, 124,
        125, 126, 65, 67, 69, 71,  75, 78,  81,  63,  57,  72,  73,  74}) {
    others += textOfCode(code);
  }
  EXPECT_EQ(others, "␣⇥↩\ufe0e↩\ufe0e⌫⌦⎋?\u20dd↖↘⇞⇟←→↓↑.\U0001d5d1+⌧/-=fn⇪🔊🔉🔇");
  for (const auto& [left, right, text] : {std::tuple(55, 54, "⌘"), std::tuple(58, 61, "⌥"),
                                          std::tuple(59, 62, "⌃"), std::tuple(56, 60, "⇧")}) {
    EXPECT_EQ(textOfCode(left), text);
    EXPECT_EQ(textOfCode(right), text);
  }
}

TEST(KeyTests, ModifiersConvertBothWays) {
  EXPECT_EQ(modifierBits(command | shift | option), 0xB00u);
  EXPECT_EQ(modifierBits(control | capsLock | function), 0x1000u);
  EXPECT_EQ(modifierFlags(0x1B00), control | option | shift | command);
  EXPECT_EQ(modifierFlags(0xFFFFFFFFFFFFE4FF), 0u);
}

TEST(KeyTests, CombinationsShowModifiersInOneOrder) {
  EXPECT_EQ(KeyCombo(Key::escape, 0), KeyCombo(53, 0));
  EXPECT_EQ(KeyCombo(Key::a, command | shift | option).displayText(), "⌥⇧⌘A");
  EXPECT_EQ(KeyCombo(10, 0x1B00).displayText(), "⌃⌥⇧⌘");
  KeyCombo combo(Key::q, command);
  combo.setKey(std::nullopt);
  combo.setModifiers(control | capsLock);
  EXPECT_EQ(combo, KeyCombo(0, 0x1000));
}

TEST(KeyTests, ADictionaryNeedsTwoIntegersOf32Bits) {
  const KeyCombo combo(53, 0xFFFFFFFF);
  EXPECT_EQ(KeyCombo::fromDictionary(combo.dictionary()), combo);
  for (const Dictionary& broken :
       {Dictionary{{"keyCode", std::int64_t{53}}},
        Dictionary{{"keyCode", std::int64_t{53}}, {"modifiers", 0.0}},
        Dictionary{{"keyCode", std::int64_t{-1}}, {"modifiers", std::int64_t{0}}},
        Dictionary{{"keyCode", std::int64_t{0}}, {"modifiers", std::int64_t{1} << 32}}}) {
    EXPECT_FALSE(KeyCombo::fromDictionary(broken));
  }
}

class ShortcutTest : public SimulatedTest {};

TEST_F(ShortcutTest, OnlyKeyEventsMakeOne) {
  EXPECT_EQ(shortcutOf(keyUp(0, 15, command | shift | capsLock | function)), (Shortcut{15, 0x300}));
  EXPECT_FALSE(shortcutOf(leftUp(0)));
  const std::hash<Shortcut> hash;
  EXPECT_NE(hash({15, 0}), hash({0, 15}));
}

TEST_F(ShortcutTest, SomeKeysAreNamedInAnyLayout) {
  std::map<std::uint16_t, std::string> all;
  for (std::uint16_t code = 0; code <= 126; ++code) all[code] = "x";
  desktop.keyboardLayouts.use(std::make_shared<simulated::ScriptedLayout>(all));
  std::map<std::uint32_t, std::string> named = {{49, "⎵"}, {36, "↩"}};
  for (const std::uint32_t code : {51, 117, 119, 53, 114, 115, 48, 116, 121, 126, 124, 125, 123}) {
    named[code] = textOfCode(code);
  }
  for (std::size_t i = 0; i < std::size(functionKeys); ++i) {
    named[functionKeys[i]] = "F" + std::to_string(i + 1);
  }
  for (std::uint16_t code = 0; code <= 126; ++code) {
    EXPECT_EQ(characterOf(code, desktop.keyboardLayouts), named.contains(code) ? named[code] : "x");
  }
}

TEST_F(ShortcutTest, TextsAreFixedWrittenOrUnknown) {
  auto& layouts = desktop.keyboardLayouts;
  EXPECT_EQ(displayText({15, 0x300}, layouts), "⇧⌘R");
  EXPECT_EQ(displayText({49, 0x1000}, layouts), "⌃⎵");
  EXPECT_EQ(displayText({65536 + 15, 0x100}, layouts), "⌘�");
  EXPECT_EQ(displayText({-1, 0x100}, layouts), "⌘�");
  layouts.use(std::make_shared<simulated::ScriptedLayout>(
      std::map<std::uint16_t, std::string>{{41, "ö"}, {0, "я"}, {1, "ß"}}));
  EXPECT_EQ(displayText({41, 0}, layouts), "Ö");
  EXPECT_EQ(displayText({0, 0}, layouts), "Я");
  EXPECT_EQ(displayText({1, 0}, layouts), "SS");
  EXPECT_EQ(displayText({15, 0}, layouts), "�");
  layouts.use(nullptr);
  EXPECT_EQ(displayText({41, 0}, layouts), "�");
}

TEST_F(ShortcutTest, OfTheSystemAreWholeEnabledEntries) {
  const Shortcut tab{48, cmdKey};
  for (const SymbolicHotKey& each : {SymbolicHotKey{false, 48, cmdKey},
                                     {std::nullopt, 48, cmdKey},
                                     {true, std::nullopt, cmdKey},
                                     {true, 48, std::nullopt},
                                     {true, 49, cmdKey}}) {
    desktop.hotKeys.symbolic = {each};
    EXPECT_FALSE(isSystemShortcut(tab, desktop.hotKeys));
  }
  desktop.hotKeys.symbolic = {{true, 48, cmdKey | 0x10000}};
  EXPECT_TRUE(isSystemShortcut(tab, desktop.hotKeys)) << "bits that are no modifiers do not count";
  EXPECT_FALSE(isSystemShortcut({48 + (std::int64_t{1} << 32), cmdKey}, desktop.hotKeys));
  desktop.hotKeys.symbolic.reset();
  EXPECT_FALSE(isSystemShortcut(tab, desktop.hotKeys));
}

TEST_F(ShortcutTest, TheFirstMenuItemDepthFirstOwnsOne) {
  MenuItem outer{"Outer", MenuAction::none, {}, {}};
  outer.submenu.items = {{"Inner", MenuAction::none, "q", {}}};
  Menu menu;
  menu.items = {{"Capital", MenuAction::none, "Q", {}},
                {"Unkeyed", MenuAction::none, {}, {}},
                outer,
                {"Last", MenuAction::none, "q", {}}};
  menu.items.back().keyEquivalentModifierMasks = {command, control};
  auto& layouts = desktop.keyboardLayouts;
  const auto owner = [&](const Shortcut& shortcut) {
    const auto* item = menuItemOwning(shortcut, menu, layouts);
    return item != nullptr ? item->title : "none";
  };
  EXPECT_EQ(owner({12, 0x100}), "Inner");
  EXPECT_EQ(owner({12, 0x1000}), "Last");
  EXPECT_EQ(owner({12, 0x300}), "none");
  EXPECT_EQ(owner({41, 0x100}), "none") << "a key without a character";
}

}  // namespace
}  // namespace tapeloop
