#include <algorithm>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include "controller/shortcut_slots.h"
#include "hotkeys/shortcut.h"
#include "support/x_connection.h"
#include "x11_fixture.h"

// Shortcuts and Escape while another application has the focus.

using namespace std::chrono_literals;
using namespace tapeloop;
using namespace tapeloop::support;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

const Shortcut controlOptionR{15, controlKey | optionKey};
const Shortcut controlOptionP{35, controlKey | optionKey};

class HotKeys : public X11Test {
 protected:
  HotKeys() {
    shortcuts().setShortcut(recordShortcut, controlOptionR);
    shortcuts().setShortcut(playShortcut, controlOptionP);
    desktop.sync();
  }
  KeyboardShortcuts& shortcuts() { return desktop.contentView().keyboardShortcuts(); }
  [[nodiscard]] bool isRecording() {
    return desktop.contentView().captureState().isRecording.get();
  }
  /// Everything that the user has done so far has been handled.
  void settle() {
    for (int round = 0; round < 2; ++round) {
      desktop.sync();
      bool turned = false;
      ASSERT_TRUE(turnUntil([&] { return std::exchange(turned, true); }));
    }
  }
  void down(std::initializer_list<std::string_view> keys) {
    for (const auto key : keys) poster.pressKey(key);
  }
  void up(std::initializer_list<std::string_view> keys) {
    for (const auto key : keys) poster.releaseKey(key);
  }
  void strike(std::string_view key, int times = 1) {
    const std::uint8_t keys[] = {poster.keycode("Control_L"), poster.keycode("Alt_L"),
                                 poster.keycode(key)};
    for (; times > 0; --times) {
      for (const auto each : keys) poster.post({.kind = XEventKind::keyPress, .detail = each});
      for (const auto each : keys) poster.post({.kind = XEventKind::keyRelease, .detail = each});
    }
    poster.sync();
  }
  /// Of the keys that the other application saw, those that are no modifiers.
  [[nodiscard]] std::vector<std::uint8_t> keysSeen() const {
    std::vector<std::uint8_t> keys;
    for (const auto& event : withoutModifierKeys(window.received())) {
      if (event.kind == XEventKind::keyPress) keys.push_back(event.detail);
    }
    return keys;
  }
  struct Stroke {
    std::uint16_t code;
    double down;
    double up;
    std::uint64_t flags = 0;
  };
  void setLog(const std::vector<Stroke>& strokes) {
    std::vector<InputEvent> events;
    for (const auto& [code, down, up, flags] : strokes) {
      for (const auto& [type, offset] :
           {std::pair(EventType::keyDown, down), std::pair(EventType::keyUp, up)}) {
        InputEvent& event = events.emplace_back(inputEvent(type, offset));
        event.keyCode = code;
        event.modifierFlags = flags;
      }
    }
    desktop.setLog(events);
  }
  /// Plays these until the other application has seen so many presses.
  void play(const std::vector<Stroke>& strokes, std::size_t presses) {
    setLog(strokes);
    desktop.startPlayback(1);
    ASSERT_TRUE(turnUntil([&] { return window.count(XEventKind::keyPress) == presses; }));
  }
};

// How another program can have a combination to itself.
enum class GrabKind : std::uint8_t { core, everyKeyboard, coreKeyboard };

/// Another program takes it.
void grab(const XConnection& other, GrabKind kind, std::uint8_t keycode, std::uint16_t modifiers) {
  if (kind == GrabKind::core) {
    xcb_grab_key(other, 0, other.root(), modifiers, keycode, XCB_GRAB_MODE_ASYNC,
                 XCB_GRAB_MODE_ASYNC);
    other.sync();
    return;
  }
  xcb_discard_reply(other, xcb_input_xi_query_version(other, 2, 2).sequence);
  constexpr std::uint16_t virtualCoreKeyboard = 3;
  const std::uint32_t set = modifiers;
  const std::uint32_t events = XCB_INPUT_XI_EVENT_MASK_KEY_PRESS;
  const auto request = xcb_input_xi_passive_grab_device(
      other, XCB_CURRENT_TIME, other.root(), XCB_CURSOR_NONE, keycode,
      kind == GrabKind::everyKeyboard ? std::uint16_t{XCB_INPUT_DEVICE_ALL_MASTER}
                                      : virtualCoreKeyboard,
      1, 1, XCB_INPUT_GRAB_TYPE_KEYCODE, XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_MODE_22_ASYNC,
      XCB_INPUT_GRAB_OWNER_NO_OWNER, &events, &set);
  const XOwned<xcb_input_xi_passive_grab_device_reply_t> reply(
      xcb_input_xi_passive_grab_device_reply(other, request, nullptr));
  EXPECT_TRUE(reply && reply->num_modifiers == 0);
}

}  // namespace

TEST_F(HotKeys, RecordShortcutTogglesOnReleaseOfTheWholeAndLeavesNoTrace) {
  down({"Control_L", "Alt_L", "r"});
  up({"r", "Alt_L"});
  settle();
  EXPECT_FALSE(isRecording()) << "Control is still down";
  up({"Control_L"});
  ASSERT_TRUE(turnUntil([this] { return isRecording(); }));
  poster.tapKey("x");
  down({"Control_L"});
  poster.tapKey("y");
  down({"Alt_L", "r"});
  settle();
  EXPECT_TRUE(isRecording());
  up({"Control_L", "Alt_L"});
  settle();
  EXPECT_TRUE(isRecording()) << "the key is still down";
  up({"r"});
  ASSERT_TRUE(turnUntil([this] { return !isRecording(); }));

  std::vector<std::uint16_t> codes;
  for (const auto& event : desktop.contentView().captureState().eventLog) {
    codes.push_back(event.keyCode);
  }
  EXPECT_THAT(codes, ElementsAre(7, 7, 16, 16));
  // A stored code beyond 16 bits is no key, and not the one that its lower bits name.
  shortcuts().setShortcut(recordShortcut, Shortcut{65536 + 15, controlKey | optionKey});
  strike("r");
  settle();
  EXPECT_FALSE(isRecording());
  ASSERT_TRUE(turnUntil([this] { return keysSeen().size() >= 3; }));
  EXPECT_THAT(keysSeen(),
              ElementsAre(poster.keycode("x"), poster.keycode("y"), poster.keycode("r")));
}

TEST_F(HotKeys, PlayShortcutWaitsUntilTheUsersModifiersAreGone) {
  setLog({{15, 0, 0.01}, {35, 0.02, 0.03}});
  down({"Control_L", "Alt_L", "p"});
  up({"p"});
  settle();
  up({"Control_L"});
  settle();
  EXPECT_FALSE(desktop.isPlaying());
  up({"Alt_L"});
  ASSERT_TRUE(turnUntil([this] { return withoutModifierKeys(window.received()).size() >= 4; }));
  EXPECT_THAT(keysSeen(), ElementsAre(poster.keycode("r"), poster.keycode("p")));
  for (const auto& event : withoutModifierKeys(window.received())) EXPECT_EQ(event.state, 0);
}

TEST_F(HotKeys, EscapeIsTheApplicationsUntilSomethingPlaysAndStopsThatWhoeverHasTheKeyboard) {
  poster.tapKey("Escape");
  EXPECT_TRUE(window.waitFor(2, patience));
  settle();
  play({{15, 0, 3600}}, 2);
  poster.tapKey("Escape");
  ASSERT_TRUE(turnUntil([this] { return !desktop.isPlaying(); }));
  settle();
  EXPECT_THAT(keysSeen(), ElementsAre(poster.keycode("Escape"), poster.keycode("r")));
  poster.tapKey("Escape");
  EXPECT_TRUE(turnUntil([this] { return window.count(XEventKind::keyPress) == 3; }));

  settle();
  play({{15, 0, 3600}}, 4);
  const XConnection menu(server.display());
  const auto request = xcb_grab_keyboard(menu, 0, menu.root(), XCB_CURRENT_TIME,
                                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
  const XOwned<xcb_grab_keyboard_reply_t> reply(xcb_grab_keyboard_reply(menu, request, nullptr));
  ASSERT_TRUE(reply && reply->status == XCB_GRAB_STATUS_SUCCESS);
  poster.tapKey("Escape");
  EXPECT_TRUE(turnUntil([this] { return !desktop.isPlaying(); }));
}

TEST_F(HotKeys, EscapeStopsAllMotionWhateverMadeARunLonger) {
  auto& settings = desktop.contentView().settings();
  settings.repeatPlayback.set(true);
  settings.timesToRepeat.set(0);
  const auto moves = [](int count) {
    std::vector<InputEvent> events;
    for (int i = 0; i < count; ++i) {
      events.push_back(inputEvent(EventType::mouseMoved, i * 1e-3, {100.0 + i % 500, 300}));
    }
    return events;
  };
  const auto motions = [this] { return observer.count(XEventKind::motion); };
  const std::function<void()> lengthenings[] = {
      [&] { desktop.setLog(moves(20'000)); },
      [&] { settings.playbackSpeed.set(0.05); },
  };
  for (const auto& lengthen : lengthenings) {
    desktop.setLog(moves(20));
    desktop.startPlayback(1);
    ASSERT_TRUE(turnUntil([&] { return motions() > 40; }));
    lengthen();
    const std::size_t before = motions();
    ASSERT_TRUE(turnUntil([&] { return motions() > before + 60; }));
    poster.tapKey("Escape");
    ASSERT_TRUE(turnUntil([this] { return !desktop.isPlaying(); }));
    settle();
    observer.clear();
    // A run that went on would post hundreds of moves before these are struck and seen.
    for (int i = 0; i < 500; ++i) {
      poster.tapKey("x");
      settle();
    }
    EXPECT_LT(motions(), 10) << "the witness may have heard late of the last ones, not of hundreds";
    ASSERT_TRUE(turnUntil([&] { return observer.count(XEventKind::keyRelease) >= 500; }));
    observer.clear();
  }
}

TEST_F(HotKeys, EveryKeyThatWritesEscapeStopsAndSoDoesOneThatAnotherProgramHas) {
  const std::uint8_t escapePlace = poster.keycode("Escape");
  const std::uint8_t capsPlace = poster.keycode("Caps_Lock");
  std::size_t presses = 0;
  const auto playAndStopWith = [&](std::uint8_t keycode) {
    settle();
    play({{15, 0, 3600}}, ++presses);
    poster.tapKey(keycode);
    EXPECT_TRUE(turnUntil([this] { return !desktop.isPlaying(); })) << int{keycode};
  };
  for (const char* option : {"caps:escape", "caps:swapescape"}) {
    SCOPED_TRACE(option);
    server.setKeyboardLayout("us", option);
    playAndStopWith(capsPlace);
    playAndStopWith(escapePlace);
  }
  EXPECT_THAT(keysSeen(), Each(poster.keycode("r"))) << "Escape was taken";
  server.setKeyboardLayout("us");
  const XConnection other(server.display());
  grab(other, GrabKind::core, escapePlace, 0);
  playAndStopWith(escapePlace);
}

TEST_F(HotKeys, PostedEscapeAndShortcutsReachTheApplicationAndTriggerNothing) {
  const std::uint64_t flags = modifier_flag::control | modifier_flag::option;
  play({{53, 0, 0.01}, {15, 0.02, 0.03, flags}, {53, 0.04, 3600}}, 3);
  settle();
  EXPECT_TRUE(desktop.isPlaying());
  EXPECT_FALSE(isRecording());
  EXPECT_THAT(keysSeen(),
              ElementsAre(poster.keycode("Escape"), poster.keycode("r"), poster.keycode("Escape")));
  poster.releaseKey("Escape");
  poster.tapKey("Escape");
  EXPECT_TRUE(turnUntil([this] { return !desktop.isPlaying(); })) << "the user's own stops";
}

TEST_F(HotKeys, LocksAndLayoutsMakeNoDifference) {
  bool expected = false;
  const auto strikeAndExpectToggle = [&](const char* what) {
    strike("r");
    expected = !expected;
    EXPECT_TRUE(turnUntil([&] { return isRecording() == expected; })) << what;
  };
  for (const char* lock : {"Num_Lock", "Caps_Lock"}) {
    poster.tapKey(lock);
    strikeAndExpectToggle(lock);
  }
  auto& layouts = desktop.keyboardLayouts();
  EXPECT_EQ(displayText({16, controlKey}, layouts), "⌃Y");
  server.setKeyboardLayout("de,us");
  EXPECT_TRUE(turnUntil([&] { return displayText({16, controlKey}, layouts) == "⌃Z"; }));
  EXPECT_EQ(displayText({41, 0}, layouts), "Ö");
  strikeAndExpectToggle("another layout");
  server.setKeyboardLayout("gr,us");
  EXPECT_TRUE(turnUntil([&] {
    return displayText({16, controlKey}, layouts) == "⌃Y";
  })) << "Greek writes no Latin letters";
  // Azerbaijani lacks a letter; Russian has none, and the places have their own names.
  for (const auto& [layout, name] : {std::pair("gr,az", "⌃Ü"), std::pair("ru", "⌃W")}) {
    server.setKeyboardLayout(layout);
    EXPECT_TRUE(turnUntil([&] {
      return displayText({13, controlKey}, layouts) == name;
    })) << layout;
    EXPECT_EQ(displayText({12, controlKey}, layouts), "⌃Q") << "the menu's key is recognised";
  }
  // Shift is not a lock because a key can lock it.
  server.setKeyboardLayout("us", "caps:shiftlock");
  shortcuts().setShortcut(playShortcut, Shortcut{15, controlKey | optionKey | shiftKey});
  settle();
  strikeAndExpectToggle("without Shift");
  down({"Shift_L"});
  strike("r");
  settle();
  EXPECT_EQ(isRecording(), expected) << "with Shift it is another combination";
  up({"Shift_L"});
  server.setKeyboardLayout("us");
  EXPECT_THAT(keysSeen(), ElementsAre(poster.keycode("Num_Lock"))) << "and nothing of a shortcut";
}

TEST_F(HotKeys, WhatAnotherProgramHasIsKnownAndNeverActsUntilItIsFreeAgain) {
  for (const GrabKind kind : {GrabKind::core, GrabKind::everyKeyboard, GrabKind::coreKeyboard}) {
    SCOPED_TRACE(static_cast<int>(kind));
    shortcuts().setShortcut(recordShortcut, std::nullopt);
    {
      const XConnection other(server.display());
      grab(other, kind, poster.keycode("r"), XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1);
      EXPECT_TRUE(isSystemShortcut(controlOptionR, desktop.hotKeys()));
      // Stored earlier, and refused at the start of this run.
      shortcuts().setShortcut(recordShortcut, controlOptionR);
      strike("r");
      settle();
      EXPECT_FALSE(isRecording()) << "the other program acts";
      // It did not ask for the combination with this lock, and of a refused one nothing is taken.
      poster.tapKey("Num_Lock");
      strike("r");
      poster.tapKey("Num_Lock");
    }
    EXPECT_TRUE(turnUntil([&] { return !isSystemShortcut(controlOptionR, desktop.hotKeys()); }));
    shortcuts().beginPause();
    shortcuts().endPause();
    strike("r");
    EXPECT_TRUE(turnUntil([this] { return isRecording(); })) << "any change tries it again";
    strike("r");
    EXPECT_TRUE(turnUntil([this] { return !isRecording(); }));
  }
  EXPECT_FALSE(isSystemShortcut(controlOptionR, desktop.hotKeys())) << "our own is not another's";
  strike("r");
  EXPECT_TRUE(turnUntil([this] { return isRecording(); }));
  const auto seen = keysSeen();
  EXPECT_EQ(std::count(seen.begin(), seen.end(), poster.keycode("r")), 3)
      << "asking took no key away from us, nor did a refusal";
}

TEST_F(HotKeys, WhatIsPostedReachesTheApplicationWhileAShortcutIsHeld) {
  play({{7, 0, 0.3}, {16, 0.31, 0.32}}, 1);
  down({"Control_L", "Alt_L", "r"});
  ASSERT_TRUE(turnUntil([this] { return !desktop.isPlaying() && keysSeen().size() == 2; }));
  EXPECT_THAT(keysSeen(), ElementsAre(poster.keycode("x"), poster.keycode("y")));
  EXPECT_FALSE(isRecording());
  up({"r", "Alt_L", "Control_L"});
  EXPECT_TRUE(turnUntil([this] { return isRecording(); })) << "the release is not lost";
  EXPECT_TRUE(turnUntil([this] { return isNothingHeld(); }));
}

TEST_F(HotKeys, NoPostedKeyIsLostOrActsWhileAShortcutIsStruckAgainAndAgain) {
  constexpr int posted = 3000;
  shortcuts().setShortcut(playShortcut, Shortcut{96, 0});
  desktop.sync();
  std::vector<Stroke> strokes;
  for (int i = 0; i < posted; ++i) {
    const std::uint16_t code = i % 3 == 0 ? 53 : 7;  // Escape, x
    strokes.push_back({code, i * 1e-3, i * 1e-3 + 4e-4});
  }
  strokes.push_back({7, 3600, 3601});
  setLog(strokes);
  std::vector<XAction> struck;
  for (int i = 0; i < posted / 7; ++i) {
    for (const XEventKind kind : {XEventKind::keyPress, XEventKind::keyRelease}) {
      struck.push_back({.kind = kind, .detail = poster.keycode("F5")});
    }
  }
  pace(struck, 3500us);
  desktop.startPlayback(1);
  {
    const auto person = poster.start(struck);
    ASSERT_TRUE(turnUntil([&] { return window.count(XEventKind::keyPress) >= posted; }))
        << window.count(XEventKind::keyPress);
  }
  settle();
  EXPECT_TRUE(desktop.isPlaying()) << "no posted Escape stopped it";
  EXPECT_EQ(window.count(XEventKind::keyPress), posted) << "F5 is not among them";
}

TEST_F(HotKeys, TenThousandStrikesAreTenThousandActions) {
  constexpr int strikes = 10'000;
  constexpr int batch = 100;
  int changes = 0;
  const auto counted =
      desktop.contentView().captureState().isRecording.subscribe([&changes] { ++changes; });
  for (int struck = batch; struck <= strikes; struck += batch) {
    strike("r", batch);
    ASSERT_TRUE(turnUntil([&] { return changes >= struck; })) << changes;
  }
  settle();
  EXPECT_EQ(changes, strikes);
  EXPECT_FALSE(isRecording());
  EXPECT_THAT(keysSeen(), IsEmpty());
}
