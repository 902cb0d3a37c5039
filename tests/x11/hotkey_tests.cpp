#include <functional>

#include <xcb/xinput.h>

#include "controller/shortcut_slots.h"
#include "x11_fixture.h"

// Shortcuts and Escape while another application has the focus.

using namespace std::chrono_literals;
using namespace tapeloop;
using namespace tapeloop::support;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class HotKeys : public X11Test {
 protected:
  HotKeys() { setShortcuts(); }
  KeyboardShortcuts& shortcuts() { return desktop.contentView.keyboardShortcuts(); }
  void down(const Keys& keys) const {
    for (const auto key : keys) user.pressKey(key);
  }
  void up(const Keys& keys) const {
    for (const auto key : keys) user.releaseKey(key);
  }
  void strikeShortcut(std::string_view key, int times = 1) const {
    user.strike({"Control_L", "Alt_L", key}, times);
  }
  /// Strikes the record shortcut, which is to start or stop recording.
  void toggle(const char* what) {
    const bool before = desktop.isRecording();
    strikeShortcut("r");
    EXPECT_TRUE(turnUntil([&] { return desktop.isRecording() != before; })) << what;
  }
  [[nodiscard]] bool doesApplicationSee(const Keys& keys) {
    std::vector<std::uint8_t> expected;
    for (const auto key : keys) expected.push_back(user.keycode(key));
    return turnUntil([&] { return keysSeen().size() >= expected.size(); }) &&
           keysSeen() == expected;
  }
  [[nodiscard]] bool doesPlaybackEnd() {
    return turnUntil([this] { return !desktop.isPlaying(); });
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
  /// Plays these until the other application has seen so many more presses.
  void play(const std::vector<Stroke>& strokes, std::size_t presses = 1) {
    settle();
    const std::size_t before = window.count(XEventKind::keyPress);
    setLog(strokes);
    desktop.startPlayback(1);
    ASSERT_TRUE(turnUntil([&] { return window.count(XEventKind::keyPress) == before + presses; }));
  }
  void playHeldKey() { play({{15, 0, 3600}}); }
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
  const std::uint16_t device = kind == GrabKind::everyKeyboard
                                   ? std::uint16_t{XCB_INPUT_DEVICE_ALL_MASTER}
                                   : inputDevice(other, coreKeyboard);
  const std::uint32_t set = modifiers;
  const std::uint32_t events = XCB_INPUT_XI_EVENT_MASK_KEY_PRESS;
  const auto reply =
      other.reply(xcb_input_xi_passive_grab_device_reply,
                  xcb_input_xi_passive_grab_device(
                      other, XCB_CURRENT_TIME, other.root(), XCB_CURSOR_NONE, keycode, device, 1, 1,
                      XCB_INPUT_GRAB_TYPE_KEYCODE, XCB_INPUT_GRAB_MODE_22_ASYNC,
                      XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_OWNER_NO_OWNER, &events, &set));
  EXPECT_TRUE(reply && reply->num_modifiers == 0);
}

}  // namespace

TEST_F(HotKeys, RecordShortcutActsOnTheReleaseOfAllKeys) {
  down({"Control_L", "Alt_L", "r"});
  up({"r", "Alt_L"});
  settle();
  EXPECT_FALSE(desktop.isRecording()) << "Control is still down";
  up({"Control_L"});
  ASSERT_TRUE(turnUntil([this] { return desktop.isRecording(); }));
  user.tapKey("x");
  down({"Control_L"});
  user.tapKey("y");
  down({"Alt_L", "r"});
  up({"Control_L", "Alt_L"});
  settle();
  EXPECT_TRUE(desktop.isRecording()) << "the key is still down";
  up({"r"});
  ASSERT_TRUE(turnUntil([this] { return !desktop.isRecording(); }));

  std::vector<std::uint16_t> codes;
  for (const auto& event : desktop.log()) codes.push_back(event.keyCode);
  EXPECT_THAT(codes, ElementsAre(7, 7, 16, 16)) << "nothing of the shortcut is recorded";
  // A stored code beyond 16 bits is no key, and not the one that its lower bits name.
  shortcuts().setShortcut(recordShortcut, Shortcut{65536 + 15, controlKey | optionKey});
  strikeShortcut("r");
  settle();
  EXPECT_FALSE(desktop.isRecording());
  EXPECT_TRUE(doesApplicationSee({"x", "y", "r"}));
}

TEST_F(HotKeys, PlayShortcutWaitsUntilTheModifiersAreUp) {
  setLog({{15, 0, 0.01}, {35, 0.02, 0.03}});
  down({"Control_L", "Alt_L", "p"});
  up({"p"});
  settle();
  up({"Control_L"});
  settle();
  EXPECT_FALSE(desktop.isPlaying());
  up({"Alt_L"});
  ASSERT_TRUE(turnUntil([this] { return withoutModifierKeys(window.events()).size() >= 4; }));
  EXPECT_TRUE(doesApplicationSee({"r", "p"}));
  for (const auto& event : withoutModifierKeys(window.events())) EXPECT_EQ(event.state, 0);
}

TEST_F(HotKeys, EscapeIsTakenOnlyWhileSomethingPlays) {
  user.tapKey("Escape");
  EXPECT_TRUE(window.waitFor(2, timeout));
  playHeldKey();
  user.tapKey("Escape");
  ASSERT_TRUE(doesPlaybackEnd());
  settle();
  EXPECT_TRUE(doesApplicationSee({"Escape", "r"}));
  user.tapKey("Escape");
  EXPECT_TRUE(doesApplicationSee({"Escape", "r", "Escape"}));

  playHeldKey();
  const XConnection menu(server.display());
  const auto reply = menu.reply(xcb_grab_keyboard_reply,
                                xcb_grab_keyboard(menu, 0, menu.root(), XCB_CURRENT_TIME,
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
  ASSERT_TRUE(reply && reply->status == XCB_GRAB_STATUS_SUCCESS);
  user.tapKey("Escape");
  EXPECT_TRUE(doesPlaybackEnd()) << "though a menu has grabbed the keyboard";
}

TEST_F(HotKeys, EscapeStopsAllMotionWhateverMadeARunLonger) {
  auto& settings = desktop.settings;
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
    user.tapKey("Escape");
    ASSERT_TRUE(doesPlaybackEnd());
    settle();
    observer.clear();
    // A run that went on would post hundreds of moves before these are struck and seen.
    for (int i = 0; i < 500; ++i) {
      user.tapKey("x");
      settle();
    }
    EXPECT_LT(motions(), 10) << "the witness may see the last ones late, but not hundreds";
    ASSERT_TRUE(turnUntil([&] { return observer.count(XEventKind::keyRelease) >= 500; }));
    observer.clear();
  }
}

TEST_F(HotKeys, EveryKeyThatWritesEscapeStopsAPlayback) {
  const std::uint8_t escapePlace = user.keycode("Escape");
  const std::uint8_t capsPlace = user.keycode("Caps_Lock");
  const auto playAndStopWith = [&](std::uint8_t keycode) {
    playHeldKey();
    user.tapKey(keycode);
    EXPECT_TRUE(doesPlaybackEnd()) << int{keycode};
  };
  for (const char* option : {"caps:escape", "caps:swapescape"}) {
    SCOPED_TRACE(option);
    useLayout("us", option);
    playAndStopWith(capsPlace);
    playAndStopWith(escapePlace);
  }
  EXPECT_THAT(keysSeen(), Each(user.keycode("r"))) << "Escape was taken";
  useLayout("us");
  const XConnection other(server.display());
  grab(other, GrabKind::core, escapePlace, 0);
  playAndStopWith(escapePlace);
}

TEST_F(HotKeys, LocksAndLayoutsMakeNoDifference) {
  for (const char* lock : {"Num_Lock", "Caps_Lock"}) {
    user.tapKey(lock);
    toggle(lock);
  }
  // The key is grabbed with another set of locks now.
  server.run({"xmodmap", "-e", "add mod3 = Scroll_Lock"});
  settle();
  user.tapKey("Scroll_Lock");
  toggle("a lock that is new");
  user.tapKey("Scroll_Lock");

  auto& layouts = desktop.x.keyboardLayouts;
  const auto isNamed = [&](std::uint16_t code, const char* name) {
    return turnUntil([&] { return displayText({code, controlKey}, layouts) == name; });
  };
  EXPECT_TRUE(isNamed(16, "⌃Y"));
  server.setKeyboardLayout("de,us");
  EXPECT_TRUE(isNamed(16, "⌃Z"));
  EXPECT_TRUE(isNamed(41, "⌃Ö"));
  toggle("another layout");
  server.setKeyboardLayout("gr,us");
  EXPECT_TRUE(isNamed(16, "⌃Y")) << "Greek writes no Latin letters";
  // Azerbaijani lacks a letter; Russian has none, and the places have their own names.
  for (const auto& [layout, name] : {std::pair("gr,az", "⌃Ü"), std::pair("ru", "⌃W")}) {
    server.setKeyboardLayout(layout);
    EXPECT_TRUE(isNamed(13, name)) << layout;
    EXPECT_TRUE(isNamed(12, "⌃Q")) << "the menu's key is recognised";
  }
  // A shortcut on show is named anew when the user switches to the second layout.
  useLayout("us,de", "grp:menu_toggle");
  std::string shown;
  const Subscription onLayout = layouts.onChange([&] {
    shown = displayText({16, controlKey}, layouts);
  });
  user.tapKey("Menu");
  EXPECT_TRUE(turnUntil([&] { return shown == "⌃Z"; })) << shown;
  // Shift is not a lock because a key can lock it.
  useLayout("us", "caps:shiftlock");
  shortcuts().setShortcut(playShortcut, Shortcut{15, controlKey | optionKey | shiftKey});
  settle();
  toggle("without Shift");
  const bool before = desktop.isRecording();
  down({"Shift_L"});
  strikeShortcut("r");
  settle();
  EXPECT_EQ(desktop.isRecording(), before) << "with Shift it is another combination";
  up({"Shift_L"});
  useLayout("us");
  EXPECT_TRUE(doesApplicationSee({"Num_Lock", "Scroll_Lock", "Scroll_Lock", "Menu"}))
      << "and nothing of a shortcut";
}

TEST_F(HotKeys, WhatAnotherProgramHasNeverActsUntilItIsFree) {
  const auto isTaken = [this] { return isSystemShortcut(controlOptionR, desktop.x.hotKeys); };
  for (const GrabKind kind : {GrabKind::core, GrabKind::everyKeyboard, GrabKind::coreKeyboard}) {
    SCOPED_TRACE(static_cast<int>(kind));
    shortcuts().setShortcut(recordShortcut, std::nullopt);
    {
      const XConnection other(server.display());
      grab(other, kind, user.keycode("r"), XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1);
      EXPECT_TRUE(isTaken());
      // Stored earlier, and refused at the start of this run.
      shortcuts().setShortcut(recordShortcut, controlOptionR);
      strikeShortcut("r");
      settle();
      EXPECT_FALSE(desktop.isRecording()) << "the other program acts";
      // It did not ask for the combination with this lock, and of a refused one nothing is taken.
      user.tapKey("Num_Lock");
      strikeShortcut("r");
      user.tapKey("Num_Lock");
    }
    EXPECT_TRUE(turnUntil([&] { return !isTaken(); }));
    shortcuts().beginPause();
    shortcuts().endPause();
    toggle("any change tries it again");
    toggle("once more");
  }
  EXPECT_FALSE(isTaken()) << "our own is not another's";
  toggle("asking took no key away from us");
  EXPECT_TRUE(turnUntil([this] { return timesSeen("r") == 3; }))
      << "with the lock, from each round: a refusal takes nothing";
  settle();
  EXPECT_EQ(timesSeen("r"), 3);
}

TEST_F(HotKeys, PostedKeysReachTheApplicationAndActOnNothing) {
  const std::uint64_t flags = modifier_flag::control | modifier_flag::option;
  play({{53, 0, 0.01}, {15, 0.02, 0.03, flags}, {53, 0.04, 3600}}, 3);
  settle();
  EXPECT_TRUE(desktop.isPlaying());
  EXPECT_FALSE(desktop.isRecording());
  EXPECT_TRUE(doesApplicationSee({"Escape", "r", "Escape"}));
  user.releaseKey("Escape");
  user.tapKey("Escape");
  EXPECT_TRUE(doesPlaybackEnd()) << "the user's own stops";

  window.clear();
  play({{7, 0, 0.3}, {16, 0.31, 0.32}});
  down({"Control_L", "Alt_L", "r"});
  ASSERT_TRUE(doesPlaybackEnd());
  EXPECT_TRUE(doesApplicationSee({"x", "y"})) << "though a shortcut is held";
  EXPECT_FALSE(desktop.isRecording());
  up({"r", "Alt_L", "Control_L"});
  EXPECT_TRUE(turnUntil([this] { return desktop.isRecording(); })) << "the release is not lost";
  EXPECT_TRUE(turnUntil([this] { return isNothingHeld(); }));
}

TEST_F(HotKeys, NoPostedKeyIsLostWhileAShortcutIsStruck) {
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
  for (int i = 0; i < posted / 7; ++i) strike({"F5"});
  pace(actions, 3500us);
  desktop.startPlayback(1);
  {
    const auto person = user.start(actions);
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
      desktop.contentView.captureState().isRecording.subscribe([&changes] { ++changes; });
  for (int struck = batch; struck <= strikes; struck += batch) {
    strikeShortcut("r", batch);
    ASSERT_TRUE(turnUntil([&] { return changes >= struck; })) << changes;
  }
  settle();
  EXPECT_EQ(changes, strikes);
  EXPECT_FALSE(desktop.isRecording());
  EXPECT_THAT(keysSeen(), IsEmpty());
}
