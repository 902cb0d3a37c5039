#include <memory>
#include <string>
#include <vector>

#include "hotkeys/keyboard_shortcuts.h"
#include "hotkeys/shortcut.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const Shortcut commandShiftR{15, 768};
const Shortcut f5{96, 0};
constexpr const char* recordKey = "KeyboardShortcuts_toggleUnicornMode";

class KeyboardShortcutsTest : public SimulatedTest {
 protected:
  KeyboardShortcutsTest()
      : observer_(desktop.notifications.addObserverForName(
            "KeyboardShortcuts_shortcutByNameDidChange",
            [this](const Notification& each) { changes.push_back(each.userInfo.at("name")); })) {}

  static simulated::ScriptedHotKeyService::Combination combination(const Shortcut& shortcut) {
    return {static_cast<std::uint32_t>(shortcut.carbonKeyCode),
            static_cast<std::uint32_t>(shortcut.carbonModifiers)};
  }
  bool press(const Shortcut& shortcut) { return desktop.hotKeys.press(combination(shortcut)); }
  bool tap(const Shortcut& shortcut) { return desktop.hotKeys.tap(combination(shortcut)); }
  void release(const Shortcut& shortcut) { desktop.hotKeys.release(combination(shortcut)); }

  std::vector<std::string> changes;
  KeyboardShortcuts shortcuts{desktop.hotKeys, desktop.defaults, desktop.notifications};
  const Name record{"toggleUnicornMode", std::nullopt};
  const Name play{"toggleUnicornMode2", std::nullopt};
  int runs = 0;

 private:
  Subscription observer_;
};

TEST_F(KeyboardShortcutsTest, ASetSlotIsStoredAsJsonAndAClearedOneAsFalse) {
  shortcuts.setShortcut(record, std::nullopt);
  EXPECT_THAT(changes, IsEmpty()) << "an empty slot can't be cleared";
  shortcuts.setShortcut(record, commandShiftR);
  const auto text = std::get<std::string>(desktop.defaults.objectForKey(recordKey).value());
  EXPECT_EQ(shortcutFromJson(text), commandShiftR);
  EXPECT_EQ(shortcuts.shortcut(record), commandShiftR);
  shortcuts.setShortcut(record, std::nullopt);
  EXPECT_EQ(desktop.defaults.objectForKey(recordKey), DefaultsValue(false));
  EXPECT_FALSE(shortcuts.shortcut(record));
  EXPECT_TRUE(desktop.hotKeys.registrations.empty());
  EXPECT_THAT(changes, ElementsAre("toggleUnicornMode", "toggleUnicornMode"));
  shortcuts.name("toggleUnicornMode", f5);
  EXPECT_FALSE(shortcuts.shortcut(record)) << "a default is for slots that never held anything";
  shortcuts.name("another", f5);
  EXPECT_EQ(shortcuts.shortcut({"another", std::nullopt}), f5);
}

TEST_F(KeyboardShortcutsTest, WhatIsNoShortcutReadsAsNone) {
  for (const char* text : {"", "{", "[]", "null", R"({"carbonKeyCode":15})", "\xff\xfe",
                           R"({"carbonKeyCode":"15","carbonModifiers":768})",
                           R"({"carbonKeyCode":1.5,"carbonModifiers":768})",
                           R"({"carbonKeyCode":15,"carbonModifiers":99999999999999999999})",
                           R"({"carbonKeyCode":15,"carbonModifiers":768} x)"}) {
    ASSERT_EQ(desktop.defaults.setObjectForKey(std::string(text), recordKey), StoreStatus::stored);
    EXPECT_FALSE(shortcuts.shortcut(record)) << text;
    shortcuts.onKeyUp(record, [this] { ++runs; });
  }
  EXPECT_FALSE(shortcutFromJson(std::string(100'000, '[')));
  EXPECT_TRUE(desktop.hotKeys.registrations.empty());
  EXPECT_EQ(shortcutFromJson(R"( {"x":[],"carbonModifiers":768,"carbonKeyCode":15} )"),
            commandShiftR);
}

TEST_F(KeyboardShortcutsTest, ActionsRunOnTheirEdgeAndTakeTheKeys) {
  shortcuts.setShortcut(play, commandShiftR);
  EXPECT_TRUE(tap(commandShiftR)) << "there is no action yet";
  shortcuts.onKeyUp(play, [this] { ++runs; });
  EXPECT_FALSE(press(commandShiftR));
  EXPECT_EQ(runs, 0);
  release(commandShiftR);
  EXPECT_EQ(runs, 1);
  shortcuts.onKeyUp(play, [this] { ++runs; });
  tap(commandShiftR);
  EXPECT_EQ(runs, 3) << "an action counts as often as it was added";
  EXPECT_EQ(desktop.hotKeys.registrations.size(), 1u);
  shortcuts.setShortcut(play, f5);
  EXPECT_FALSE(press(f5)) << "the new keys are taken at once";
}

TEST_F(KeyboardShortcutsTest, WhilePausedNothingRunsOrIsTaken) {
  shortcuts.setShortcut(play, f5);
  shortcuts.onKeyDown(play, [this] { ++runs; });
  shortcuts.beginPause();
  shortcuts.beginPause();
  shortcuts.endPause();
  EXPECT_TRUE(tap(f5)) << "one of two pauses is still on";
  EXPECT_EQ(runs, 0);
  shortcuts.endPause();
  EXPECT_FALSE(tap(f5));
  EXPECT_EQ(runs, 1);
  shortcuts.onKeyUp(play, [this] { ++runs; });
  press(f5);
  shortcuts.beginPause();
  release(f5);
  EXPECT_EQ(runs, 2) << "it was pressed before the pause";
}

TEST_F(KeyboardShortcutsTest, WhatIsTypedInAPauseStartsNothing) {
  shortcuts.setShortcut(record, f5);
  shortcuts.onKeyUp(record, [this] { ++runs; });
  shortcuts.onKeyUp(play, [this] { ++runs; });
  shortcuts.beginPause();
  press(f5);
  shortcuts.setShortcut(play, f5);
  shortcuts.endPause();
  release(f5);
  EXPECT_EQ(runs, 0);
  tap(f5);
  EXPECT_EQ(runs, 2);

  // A combination that is unregistered while it is down has no release.
  shortcuts.beginPause();
  press(f5);
  for (const Name& each : {record, play}) shortcuts.setShortcut(each, std::nullopt);
  release(f5);
  shortcuts.setShortcut(play, f5);
  shortcuts.endPause();
  tap(f5);
  EXPECT_EQ(runs, 3);

  // A press that is reported late still counts as typed in the pause.
  shortcuts.beginPause();
  desktop.hotKeys.lag();
  press(f5);
  shortcuts.endPause();
  release(f5);
  desktop.hotKeys.catchUp();
  EXPECT_EQ(runs, 3);
}

TEST_F(KeyboardShortcutsTest, TwoSlotsMayShareACombination) {
  std::vector<std::string> ran;
  for (const Name& each : {record, play}) {
    shortcuts.setShortcut(each, f5);
    shortcuts.onKeyUp(each, [&ran, each] { ran.push_back(each.rawValue); });
  }
  tap(f5);
  shortcuts.setShortcut(record, commandShiftR);
  tap(f5);
  tap(commandShiftR);
  EXPECT_THAT(ran, ElementsAre(record.rawValue, play.rawValue, play.rawValue, record.rawValue));
  shortcuts.setShortcut(play, std::nullopt);
  EXPECT_TRUE(tap(f5));
}

TEST_F(KeyboardShortcutsTest, AnActionMayChangeSlotsAndActions) {
  const Name first{"a", std::nullopt};
  const Name second{"b", std::nullopt};
  const Name third{"c", std::nullopt};
  std::vector<std::string> ran;
  for (const Name& each : {first, second}) shortcuts.setShortcut(each, f5);
  shortcuts.onKeyUp(first, [&] {
    ran.emplace_back("first");
    for (const Name& each : {first, second}) shortcuts.setShortcut(each, std::nullopt);
    shortcuts.setShortcut(third, f5);
    shortcuts.onKeyUp(first, [&] { ran.emplace_back("added"); });
  });
  shortcuts.onKeyUp(first, [&] { ran.emplace_back("also first"); });
  shortcuts.onKeyUp(second, [&] { ran.emplace_back("second"); });
  shortcuts.onKeyUp(third, [&] { ran.emplace_back("third"); });
  tap(f5);
  EXPECT_THAT(ran, ElementsAre("first", "also first", "third"));
}

TEST_F(KeyboardShortcutsTest, WhatAnotherProcessStoresHolds) {
  shortcuts.setShortcut(record, f5);
  shortcuts.onKeyUp(record, [this] { ++runs; });
  ASSERT_EQ(desktop.defaults.setObjectForKey(toJson(commandShiftR), recordKey),
            StoreStatus::stored);
  tap(f5);
  EXPECT_EQ(runs, 0);
  shortcuts.onKeyUp(record, [] {});
  EXPECT_TRUE(tap(f5)) << "nobody acts on it any more";
  tap(commandShiftR);
  EXPECT_EQ(runs, 1);
}

TEST_F(KeyboardShortcutsTest, WhatTheStoreRefusesHoldsForThisRun) {
  shortcuts.setShortcut(record, f5);
  shortcuts.onKeyUp(record, [this] { ++runs; });
  desktop.defaults.setStatus(StoreStatus::diskFull);
  shortcuts.setShortcut(record, commandShiftR);
  EXPECT_EQ(shortcuts.shortcut(record), commandShiftR);
  tap(commandShiftR);
  EXPECT_EQ(runs, 1);
  KeyboardShortcuts next(desktop.hotKeys, desktop.defaults, desktop.notifications);
  EXPECT_EQ(next.shortcut(record), f5);
  desktop.defaults.setStatus(StoreStatus::stored);
  shortcuts.setShortcut(record, f5);
  EXPECT_EQ(shortcuts.shortcut(record), f5);
}

}  // namespace
}  // namespace tapeloop
