#include <algorithm>

#include "x11_fixture.h"

// The user has a keyboard and a mouse, devices beside those that the program posts with.

using namespace std::chrono_literals;
using namespace tapeloop;
using namespace tapeloop::support;

namespace {

class Hardware : public X11Test {
 protected:
  Hardware() : X11Test({.hardware = true}) { setShortcuts(); }
  void strikeShortcut(std::string_view key) const { user.strike({"Control_L", "Alt_L", key}); }
};

}  // namespace

TEST_F(Hardware, ShortcutsAndEscapeAct) {
  strikeShortcut("r");
  ASSERT_TRUE(turnUntil([this] { return desktop.isRecording(); }));
  ASSERT_TRUE(observer.waitFor(6, timeout));
  observer.clear();
  user.moveTo(300, 200);
  user.typeText("Hi @x");
  user.press(1);
  user.moveTo(340, 230);
  user.release(1);
  user.click(5);
  const auto isLastSeenBy = [](const XEventList& list) {
    return list.waitUntil(
        [](const auto& events) {
          return !events.empty() && events.back().kind == XEventKind::buttonRelease &&
                 events.back().detail == 5;
        },
        timeout);
  };
  ASSERT_TRUE(isLastSeenBy(observer) && isLastSeenBy(window));
  const auto expected = withoutModifierKeys(observer.events());
  strikeShortcut("r");
  ASSERT_TRUE(turnUntil([this] { return !desktop.isRecording(); }));

  window.clear();
  strikeShortcut("p");
  ASSERT_TRUE(
      turnUntil([&] { return withoutModifierKeys(window.events()).size() >= expected.size(); }));
  expectSameInput(withoutModifierKeys(window.events()), expected);
  ASSERT_TRUE(turnUntil([this] { return !desktop.isPlaying(); }));

  desktop.setLog({inputEvent(EventType::leftMouseDown, 0, {100, 700}),
                  inputEvent(EventType::keyDown, 0.001, {100, 700}),
                  inputEvent(EventType::keyUp, 60, {100, 700})});
  strikeShortcut("p");
  ASSERT_TRUE(turnUntil([this] { return isHolding(); }));
  user.tapKey("Escape");
  EXPECT_TRUE(turnUntil([this] { return !desktop.isPlaying() && isNothingHeld(); }));
  EXPECT_EQ(timesSeen("r") + timesSeen("p") + timesSeen("Escape"), 0);
}

TEST_F(Hardware, NothingOfTheUsersOrOfThePlaybackIsLost) {
  setRepeatRate(server.display(), 200, 30);
  const auto repeats = [this] {
    return std::vector{repeatOf(server.display(), server.keyboardName()),
                       repeatOf(server.display(), coreKeyboard),
                       repeatOf(server.display(), testKeyboard)};
  };
  const auto before = repeats();
  ASSERT_THAT(before, testing::Each(XRepeat{true, 200, 30}));

  constexpr int played = 600;
  std::vector<InputEvent> events;
  for (int i = 0; i < 2 * played; ++i) {
    events.push_back(inputEvent(i % 2 == 0 ? EventType::keyDown : EventType::keyUp, i * 1e-3));
    events.back().keyCode = 7;  // x
  }
  desktop.setLog(events);

  for (int i = 0; i < 10; ++i) type("edit");
  pace(actions, 4ms);
  const auto act = [&](XEventKind kind, std::string_view key, std::chrono::milliseconds at) {
    actions.push_back({.kind = kind, .detail = user.keycode(key), .offset = at});
  };
  act(XEventKind::keyPress, "h", 350ms);
  act(XEventKind::keyRelease, "h", 800ms);
  for (const auto key : {"Control_L", "Alt_L", "r"}) act(XEventKind::keyPress, key, 850ms);
  for (const auto key : {"r", "Alt_L", "Control_L"}) act(XEventKind::keyRelease, key, 1000ms);

  desktop.startPlayback(1);
  {
    const auto person = user.start(actions);
    ASSERT_TRUE(turnUntil([this] { return timesSeen("x") >= played; })) << timesSeen("x");
    ASSERT_TRUE(turnUntil([this] { return !desktop.isPlaying(); }));
  }
  EXPECT_TRUE(turnUntil([this] { return isNothingHeld(); }));
  EXPECT_EQ(timesSeen("x"), played);
  for (const auto letter : {"e", "d", "i", "t"}) EXPECT_EQ(timesSeen(letter), 10) << letter;
  EXPECT_EQ(timesSeen("r"), 0) << "it is the program's";
  EXPECT_GT(timesSeen("h"), 3) << "their keyboard repeats it";
  EXPECT_EQ(repeats(), before);
}
