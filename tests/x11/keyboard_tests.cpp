#include <algorithm>

#include "x11_fixture.h"

// What keys do depends on locks and layouts, and some keys change those: all of it comes back, and
// nothing stays behind.

using namespace std::chrono_literals;
using namespace tapeloop;
using namespace tapeloop::support;

namespace {

class Keyboard : public X11Test {
 protected:
  /// Records `actions`. What the witness saw, without the keys that only change modifiers.
  Events recordKeys() {
    pace(actions, 2ms);
    return withoutModifierKeys(record());
  }
  Events replayKeys(double speed, std::size_t expected) {
    return withoutModifierKeys(replay(speed, expected));
  }
  void expectReplayed(const Events& recorded) {
    for (const double speed : {1.0, 10.0}) {
      expectSameInput(replayKeys(speed, recorded.size()), recorded);
      EXPECT_EQ(modifiersInForce(), 0);
    }
    settle();
    EXPECT_EQ(modifiersInForce(), 0);
  }
};

}  // namespace

TEST_F(Keyboard, SwitchesOfTheLayoutComeBackAndLockNothing) {
  struct LayoutSwitch {
    const char* option;
    Keys keys;
  };
  for (const auto& [option, keys] : {LayoutSwitch{"grp:win_space_toggle", {"Super_L", "space"}},
                                     {"grp:alt_shift_toggle", {"Alt_L", "Shift_L"}},
                                     {"grp:alt_shift_toggle", {"Shift_L", "Alt_L"}},
                                     {"grp:ctrl_shift_toggle", {"Control_L", "Shift_L"}},
                                     {"grp:shift_caps_toggle", {"Shift_L", "Caps_Lock"}},
                                     {"grp:alt_caps_toggle", {"Alt_L", "Caps_Lock"}}}) {
    SCOPED_TRACE(std::string(option) + " " + std::string(keys[0]));
    useLayout("us,ru", option);
    for (int round = 0; round < 2; ++round) {
      for (const auto letter : {"a", "s", "d"}) strike({letter});
      strike(keys);
      for (const auto letter : {"a", "s", "d"}) strike({letter});
      strike({"Shift_L", "a"});
      strike(keys);
    }
    const auto recorded = recordKeys();
    const auto& log = desktop.log();
    const auto ups = std::ranges::count(log, EventType::keyUp, &InputEvent::type);
    EXPECT_EQ(2 * static_cast<std::size_t>(ups), log.size());
    ASSERT_TRUE(std::ranges::any_of(recorded, [](const XEvent& each) {
      constexpr std::uint16_t secondGroup = 1U << 13;
      return (each.state & secondGroup) != 0;
    })) << "the layout was switched";
    expectReplayed(recorded);
  }
}

TEST_F(Keyboard, AllLevelsOfALayoutWithSixComeBack) {
  useLayout("de", {}, "neo");
  for (const auto key : {"n", "r", "space"}) {
    strike({key});
    strike({"Shift_L", key});
    strike({"ISO_Level3_Shift", key});
    strike({"ISO_Level5_Shift", key});
    strike({"ISO_Level3_Shift", "ISO_Level5_Shift", key});
    strike({"ISO_Level5_Shift", "ISO_Level3_Shift", key});
  }
  expectReplayed(recordKeys());
}

TEST_F(Keyboard, KeypadKeysComeBackWhateverNumLockIsThen) {
  constexpr std::uint16_t numLock = XCB_MOD_MASK_2;
  const auto setNumLock = [&](bool on) {
    if (((modifiersInForce() & numLock) != 0) == on) return;
    // The witness may see it later.
    const std::size_t releases = observer.count(XEventKind::keyRelease);
    user.tapKey("Num_Lock");
    settle();
    EXPECT_TRUE(turnUntil([&] { return observer.count(XEventKind::keyRelease) > releases; }));
  };
  struct KeypadKey {
    Keys keys;
    std::string_view without;  // what does the same without Num Lock
    bool depends = true;       // on Num Lock
  };
  const std::vector<KeypadKey> keypad{
      {{"KP_End"}, "End"},          {{"KP_Down"}, "Down"},      {{"KP_Next"}, "Next"},
      {{"KP_Left"}, "Left"},        {{"KP_Begin"}, "KP_Begin"}, {{"KP_Right"}, "Right"},
      {{"KP_Home"}, "Home"},        {{"KP_Up"}, "Up"},          {{"KP_Prior"}, "Prior"},
      {{"KP_Insert"}, "Insert"},    {{"KP_Delete"}, "Delete"},  {{"Shift_L", "KP_End"}, "End"},
      {{"KP_Add"}, "KP_Add", false}};
  for (const bool isOn : {false, true}) {
    setNumLock(isOn);
    for (const auto& each : keypad) strike(each.keys);
    const auto recorded = recordKeys();
    ASSERT_EQ(recorded.size(), 2 * keypad.size());
    for (const bool isOnLater : {false, true}) {
      SCOPED_TRACE(testing::Message()
                   << "recorded with " << isOn << ", replayed with " << isOnLater);
      setNumLock(isOnLater);
      const auto replayed = replayKeys(10, recorded.size());
      ASSERT_EQ(replayed.size(), recorded.size());
      for (std::size_t i = 0; i < recorded.size(); ++i) {
        const auto& [keys, without, depends] = keypad[i / 2];
        if (isOn && depends) {
          EXPECT_TRUE(replayed[i].looksLike(recorded[i])) << replayed[i];
          continue;
        }
        EXPECT_EQ(replayed[i].detail, user.keycode(without)) << keys.back();
        const bool isSameKey = depends && without == keys.back();
        EXPECT_FALSE(isSameKey && (replayed[i].state & numLock) != 0) << keys.back();
      }
      EXPECT_EQ(modifiersInForce(), isOnLater ? numLock : 0);
    }
  }
}

TEST_F(Keyboard, ALockThatIsNotifiedTooLateToBeKeptComesBack) {
  auto& synthesis = desktop.x.eventSynthesis;
  const auto session = synthesis.beginPosting();
  settle();
  user.tapKey("Caps_Lock");
  for (const bool down : {true, false}) {
    auto key = synthesis.CGEventCreateKeyboardEvent(0, down);
    ASSERT_TRUE(key);
    CGEventSetFlags(*key, modifier_flag::shift);
    synthesis.CGEventPost(TapLocation::hid, *key);
  }
  desktop.sync();
  EXPECT_EQ(modifiersInForce(), 0) << "the program has not read the notification";
  // This one locks, too, and was meant to unlock.
  user.tapKey("Caps_Lock");
  EXPECT_EQ(modifiersInForce(), XCB_MOD_MASK_LOCK);
  EXPECT_TRUE(turnUntil([this] { return modifiersInForce() == 0; }));
  user.tapKey("Caps_Lock");
  EXPECT_TRUE(turnUntil([this] { return modifiersInForce() == XCB_MOD_MASK_LOCK; }));
}

TEST_F(Keyboard, LocksDuringAPlaybackLeaveNothingOfWhatIsPosted) {
  constexpr int taps = 1200;
  std::vector<InputEvent> events;
  for (int i = 0; i < 2 * taps; ++i) {
    events.push_back(inputEvent(i % 2 == 0 ? EventType::keyDown : EventType::keyUp, i * 2e-4));
    events.back().modifierFlags = modifier_flag::shift;
  }
  desktop.setLog(events);
  for (int i = 0; i < 41; ++i) strike({"Caps_Lock"});
  pace(actions, 6ms);
  desktop.startPlayback(1);
  {
    const auto person = user.start(actions);
    ASSERT_TRUE(turnUntil([this] { return !desktop.isPlaying(); }));
  }
  // A tap that the server handles in the midst of the requests for one key may be lost.
  EXPECT_TRUE(turnUntil([this] { return (modifiersInForce() & ~XCB_MOD_MASK_LOCK) == 0; }));
}
