#include <set>

#include "hotkeys/hotkey_modifiers.h"
#include "hotkeys/key_combo.h"
#include "hotkeys/shortcut.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using namespace modifier_flag;

TEST(KeyTests, EveryCodeBelongsToAtMostOneKeyAndBack) {
  std::set<std::uint32_t> without;
  int keys = 0;
  for (std::uint32_t code = 0; code < 300; ++code) {
    const auto key = keyWithCode(code);
    if (!key) {
      if (code <= 126) without.insert(code);
      continue;
    }
    ++keys;
    EXPECT_EQ(keyCodeOf(*key), code);
  }
  EXPECT_EQ(keys, 113);
  EXPECT_EQ(without,
            (std::set<std::uint32_t>{10, 52, 66, 68, 70, 77, 93, 94, 95, 102, 104, 108, 110, 112}));
}

TEST(KeyTests, TextsAreThoseOfTheKeysAtTheirPlaces) {
  const std::pair<std::uint32_t, const char*> texts[] = {{0, "A"},
                                                         {11, "B"},
                                                         {6, "Z"},
                                                         {46, "M"},
                                                         {29, "0"},
                                                         {23, "5"},
                                                         {22, "6"},
                                                         {82, "0"},
                                                         {92, "9"},
                                                         {39, "\""},
                                                         {42, "\\"},
                                                         {50, "`"},
                                                         {65, "."},
                                                         {67, "𝗑"},
                                                         {69, "+"},
                                                         {49, "␣"},
                                                         {48, "⇥"},
                                                         {36, "↩︎"},
                                                         {76, "↩︎"},
                                                         {54, "⌘"},
                                                         {55, "⌘"},
                                                         {58, "⌥"},
                                                         {61, "⌥"},
                                                         {59, "⌃"},
                                                         {62, "⌃"},
                                                         {56, "⇧"},
                                                         {60, "⇧"},
                                                         {63, "fn"},
                                                         {57, "⇪"},
                                                         {116, "⇞"},
                                                         {121, "⇟"},
                                                         {115, "↖"},
                                                         {119, "↘"},
                                                         {126, "↑"},
                                                         {124, "→"},
                                                         {125, "↓"},
                                                         {123, "←"},
                                                         {71, "⌧"},
                                                         {53, "⎋"},
                                                         {51, "⌫"},
                                                         {117, "⌦"},
                                                         {114, "?⃝"},
                                                         {72, "🔊"},
                                                         {73, "🔉"},
                                                         {74, "🔇"},
                                                         {122,
                                                          "\xef\xa1\xa0"
                                                          "F1"},
                                                         {101,
                                                          "\xef\xa1\xa0"
                                                          "F9"},
                                                         {109,
                                                          "\xef\xa1\xa1"
                                                          "F10"},
                                                         {90,
                                                          "\xef\xa1\xa1"
                                                          "F20"}};
  for (const auto& [code, text] : texts) {
    EXPECT_EQ(displayText(keyWithCode(code).value()), text) << code;
  }
}

TEST(KeyTests, ModifiersConvertBothWaysAndOthersAreDropped) {
  EXPECT_EQ(modifierBits(command | shift | option), 0xB00u);
  EXPECT_EQ(modifierBits(control | capsLock | function), 0x1000u);
  EXPECT_EQ(modifierFlags(0x1B00), control | option | shift | command);
  EXPECT_EQ(modifierFlags(0xFFFFFFFFFFFFE4FF), 0u);
}

TEST(KeyTests, CombinationsShowModifiersInOneOrderWhateverTheKey) {
  EXPECT_EQ(KeyCombo(Key::escape, 0), KeyCombo(53, 0));
  EXPECT_EQ(KeyCombo(Key::a, command | shift | option).displayText(), "⌥⇧⌘A");
  EXPECT_EQ(KeyCombo(10, 0x1B00).displayText(), "⌃⌥⇧⌘");
  KeyCombo combo(Key::q, command);
  combo.setKey(std::nullopt);
  combo.setModifiers(control | capsLock);
  EXPECT_EQ(combo, KeyCombo(0, 0x1000));
}

TEST(KeyTests, ADictionaryReadsBackOnlyWithTwoIntegersOf32Bits) {
  const KeyCombo combo(53, 0xFFFFFFFF);
  EXPECT_EQ(KeyCombo::fromDictionary(combo.dictionary()), combo);
  for (const Dictionary& broken :
       {Dictionary{{"keyCode", std::int64_t{53}}},
        Dictionary{{"keyCode", std::int64_t{53}}, {"modifiers", 0.0}},
        Dictionary{{"keyCode", true}, {"modifiers", std::int64_t{0}}},
        Dictionary{{"keyCode", std::int64_t{-1}}, {"modifiers", std::int64_t{0}}},
        Dictionary{{"keyCode", std::int64_t{0}}, {"modifiers", std::int64_t{1} << 32}}}) {
    EXPECT_FALSE(KeyCombo::fromDictionary(broken));
  }
}

class ShortcutTest : public SimulatedTest {};

TEST_F(ShortcutTest, OnlyKeyEventsMakeOne) {
  EXPECT_EQ(shortcutOf(keyUp(0, 15, command | shift | capsLock | function)), (Shortcut{15, 0x300}));
  EXPECT_FALSE(shortcutOf(leftUp(0)));
}

TEST_F(ShortcutTest, TextsComeFromTheTableTheLayoutOrAreUnknown) {
  auto& layouts = desktop.keyboardLayouts;
  EXPECT_EQ(displayText({15, 0x300}, layouts), "⇧⌘R");
  EXPECT_EQ(displayText({49, 0x1000}, layouts), "⌃⎵");
  EXPECT_EQ(displayText({96, 0}, layouts), "F5");
  EXPECT_EQ(displayText({99999, 0x100}, layouts), "⌘�");
  EXPECT_EQ(displayText({-1, 0x100}, layouts), "⌘�");
  layouts.use(std::make_shared<simulated::ScriptedLayout>(
      std::map<std::uint16_t, std::string>{{41, "ö"}, {0, "я"}, {1, "ß"}}));
  EXPECT_EQ(displayText({41, 0}, layouts), "Ö");
  EXPECT_EQ(displayText({0, 0}, layouts), "Я");
  EXPECT_EQ(displayText({15, 0}, layouts), "�");
  layouts.use(nullptr);
  EXPECT_EQ(displayText({41, 0}, layouts), "�");
}

TEST_F(ShortcutTest, OfTheSystemAreThoseEntriesThatAreWholeAndEnabled) {
  desktop.hotKeys.symbolic = {{true, 48, 0x100 | 0x10000},
                              {false, 1, 0x100},
                              {std::nullopt, 2, 0x100},
                              {true, std::nullopt, 0x100},
                              {true, 3, std::nullopt}};
  EXPECT_THAT(systemShortcuts(desktop.hotKeys), ::testing::ElementsAre(Shortcut{48, 0x100}));
  desktop.hotKeys.symbolic.reset();
  EXPECT_THAT(systemShortcuts(desktop.hotKeys), ::testing::IsEmpty());
}

TEST_F(ShortcutTest, TheFirstMenuItemInDepthFirstOrderOwnsOne) {
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
