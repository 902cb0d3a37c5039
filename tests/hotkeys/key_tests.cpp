#include <iterator>
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

TEST(KeyTests, EachKeyHasItsPlaceAndItsTextAndNoOtherCodeHasAKey) {
  struct Expected {
    Key key;
    std::uint32_t code;
    const char* text;
  };
  // clang-format off
  const Expected expected[] = {
      {Key::a, 0, "A"}, {Key::b, 11, "B"}, {Key::c, 8, "C"}, {Key::d, 2, "D"}, {Key::e, 14, "E"},
      {Key::f, 3, "F"}, {Key::g, 5, "G"}, {Key::h, 4, "H"}, {Key::i, 34, "I"}, {Key::j, 38, "J"},
      {Key::k, 40, "K"}, {Key::l, 37, "L"}, {Key::m, 46, "M"}, {Key::n, 45, "N"}, {Key::o, 31, "O"},
      {Key::p, 35, "P"}, {Key::q, 12, "Q"}, {Key::r, 15, "R"}, {Key::s, 1, "S"}, {Key::t, 17, "T"},
      {Key::u, 32, "U"}, {Key::v, 9, "V"}, {Key::w, 13, "W"}, {Key::x, 7, "X"}, {Key::y, 16, "Y"},
      {Key::z, 6, "Z"}, {Key::zero, 29, "0"}, {Key::one, 18, "1"}, {Key::two, 19, "2"},
      {Key::three, 20, "3"}, {Key::four, 21, "4"}, {Key::five, 23, "5"}, {Key::six, 22, "6"},
      {Key::seven, 26, "7"}, {Key::eight, 28, "8"}, {Key::nine, 25, "9"}, {Key::period, 47, "."},
      {Key::quote, 39, "\""}, {Key::rightBracket, 30, "]"}, {Key::semicolon, 41, ";"},
      {Key::slash, 44, "/"}, {Key::backslash, 42, "\\"}, {Key::comma, 43, ","},
      {Key::equal, 24, "="}, {Key::grave, 50, "`"}, {Key::leftBracket, 33, "["},
      {Key::minus, 27, "-"}, {Key::space, 49, "␣"}, {Key::tab, 48, "⇥"},
      {Key::return_, 36, "↩\ufe0e"}, {Key::command, 55, "⌘"}, {Key::rightCommand, 54, "⌘"},
      {Key::option, 58, "⌥"}, {Key::rightOption, 61, "⌥"}, {Key::control, 59, "⌃"},
      {Key::rightControl, 62, "⌃"}, {Key::shift, 56, "⇧"}, {Key::rightShift, 60, "⇧"},
      {Key::function, 63, "fn"}, {Key::capsLock, 57, "⇪"}, {Key::pageUp, 116, "⇞"},
      {Key::pageDown, 121, "⇟"}, {Key::home, 115, "↖"}, {Key::end, 119, "↘"},
      {Key::upArrow, 126, "↑"}, {Key::rightArrow, 124, "→"}, {Key::downArrow, 125, "↓"},
      {Key::leftArrow, 123, "←"}, {Key::f1, 122, "\uf860F1"}, {Key::f2, 120, "\uf860F2"},
      {Key::f3, 99, "\uf860F3"}, {Key::f4, 118, "\uf860F4"}, {Key::f5, 96, "\uf860F5"},
      {Key::f6, 97, "\uf860F6"}, {Key::f7, 98, "\uf860F7"}, {Key::f8, 100, "\uf860F8"},
      {Key::f9, 101, "\uf860F9"}, {Key::f10, 109, "\uf861F10"}, {Key::f11, 103, "\uf861F11"},
      {Key::f12, 111, "\uf861F12"}, {Key::f13, 105, "\uf861F13"}, {Key::f14, 107, "\uf861F14"},
      {Key::f15, 113, "\uf861F15"}, {Key::f16, 106, "\uf861F16"}, {Key::f17, 64, "\uf861F17"},
      {Key::f18, 79, "\uf861F18"}, {Key::f19, 80, "\uf861F19"}, {Key::f20, 90, "\uf861F20"},
      {Key::keypad0, 82, "0"}, {Key::keypad1, 83, "1"}, {Key::keypad2, 84, "2"},
      {Key::keypad3, 85, "3"}, {Key::keypad4, 86, "4"}, {Key::keypad5, 87, "5"},
      {Key::keypad6, 88, "6"}, {Key::keypad7, 89, "7"}, {Key::keypad8, 91, "8"},
      {Key::keypad9, 92, "9"}, {Key::keypadClear, 71, "⌧"}, {Key::keypadDecimal, 65, "."},
      {Key::keypadDivide, 75, "/"}, {Key::keypadEnter, 76, "↩\ufe0e"}, {Key::keypadEquals, 81, "="},
      {Key::keypadMinus, 78, "-"}, {Key::keypadMultiply, 67, "\U0001d5d1"},
      {Key::keypadPlus, 69, "+"}, {Key::escape, 53, "⎋"}, {Key::delete_, 51, "⌫"},
      {Key::forwardDelete, 117, "⌦"}, {Key::help, 114, "?\u20dd"},
      {Key::volumeUp, 72, "\U0001f50a"}, {Key::volumeDown, 73, "\U0001f509"},
      {Key::mute, 74, "\U0001f507"},
  };
  // clang-format on
  for (const auto& [key, code, text] : expected) {
    EXPECT_EQ(virtualKey(key), code);
    EXPECT_EQ(keyWithCode(code), key) << code;
    EXPECT_EQ(displayText(key), text) << code;
  }
  std::size_t codes = 0;
  for (std::uint32_t code = 0; code < 300; ++code) {
    if (keyWithCode(code)) ++codes;
  }
  EXPECT_EQ(codes, std::size(expected));
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
        Dictionary{{"keyCode", std::int64_t{-1}}, {"modifiers", std::int64_t{0}}},
        Dictionary{{"keyCode", std::int64_t{0}}, {"modifiers", std::int64_t{1} << 32}}}) {
    EXPECT_FALSE(KeyCombo::fromDictionary(broken));
  }
}

class ShortcutTest : public SimulatedTest {};

TEST_F(ShortcutTest, OnlyKeyEventsMakeOneAndItsNumbersAreNotAlike) {
  EXPECT_EQ(shortcutOf(keyUp(0, 15, command | shift | capsLock | function)), (Shortcut{15, 0x300}));
  EXPECT_FALSE(shortcutOf(leftUp(0)));
  const std::hash<Shortcut> hash;
  EXPECT_NE(hash({15, 0}), hash({0, 15}));
}

TEST_F(ShortcutTest, SomeKeysAreNamedWhateverTheLayoutWrites) {
  std::map<std::uint16_t, std::string> all;
  for (std::uint16_t code = 0; code <= 126; ++code) all[code] = "x";
  desktop.keyboardLayouts.use(std::make_shared<simulated::ScriptedLayout>(all));
  // clang-format off
  const std::map<std::uint16_t, const char*> named = {
      {36, "↩"}, {51, "⌫"}, {117, "⌦"}, {119, "↘"}, {53, "⎋"}, {114, "?\u20dd"}, {115, "↖"},
      {49, "⎵"}, {48, "⇥"}, {116, "⇞"}, {121, "⇟"}, {126, "↑"}, {124, "→"}, {125, "↓"}, {123, "←"},
      {122, "F1"}, {120, "F2"}, {99, "F3"}, {118, "F4"}, {96, "F5"}, {97, "F6"}, {98, "F7"},
      {100, "F8"}, {101, "F9"}, {109, "F10"}, {103, "F11"}, {111, "F12"}, {105, "F13"},
      {107, "F14"}, {113, "F15"}, {106, "F16"}, {64, "F17"}, {79, "F18"}, {80, "F19"}, {90, "F20"},
  };
  // clang-format on
  for (std::uint16_t code = 0; code <= 126; ++code) {
    const auto found = named.find(code);
    EXPECT_EQ(characterOf(code, desktop.keyboardLayouts),
              found != named.end() ? found->second : "x")
        << code;
  }
}

TEST_F(ShortcutTest, TextsComeFromTheTableTheLayoutOrAreUnknown) {
  auto& layouts = desktop.keyboardLayouts;
  EXPECT_EQ(displayText({15, 0x300}, layouts), "⇧⌘R");
  EXPECT_EQ(displayText({49, 0x1000}, layouts), "⌃⎵");
  EXPECT_EQ(displayText({96, 0}, layouts), "F5");
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

TEST_F(ShortcutTest, OfTheSystemAreThoseWhoseEntriesAreWholeAndEnabled) {
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
