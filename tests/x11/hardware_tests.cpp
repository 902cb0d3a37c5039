#include <algorithm>
#include <string_view>
#include <vector>

#include "controller/shortcut_slots.h"
#include "hotkeys/shortcut.h"
#include "x11_fixture.h"

// The person has a keyboard and a mouse, devices beside those that the program posts with.

using namespace std::chrono_literals;
using namespace tapeloop;
using namespace tapeloop::support;
using ::testing::IsEmpty;

namespace {

class Hardware : public X11Test {
 protected:
  Hardware() : X11Test({.hardware = true}) {
    auto& shortcuts = desktop.contentView().keyboardShortcuts();
    shortcuts.setShortcut(recordShortcut, Shortcut{15, controlKey | optionKey});
    shortcuts.setShortcut(playShortcut, Shortcut{35, controlKey | optionKey});
    desktop.sync();
  }
  [[nodiscard]] bool isRecording() {
    return desktop.contentView().captureState().isRecording.get();
  }
  void strike(std::string_view key) { poster.strike({"Control_L", "Alt_L", key}); }
  /// How often the other application saw the key go down.
  [[nodiscard]] std::ptrdiff_t presses(std::string_view key) const {
    const auto keycode = poster.keycode(key);
    return std::ranges::count_if(window.received(), [&](const XEvent& event) {
      return event.kind == XEventKind::keyPress && event.detail == keycode;
    });
  }
};

}  // namespace

TEST_F(Hardware, BothShortcutsAndEscapeActWhileAnotherApplicationHasTheFocus) {
  strike("r");
  ASSERT_TRUE(turnUntil([this] { return isRecording(); }));
  observer.clear();
  poster.moveTo(300, 200);
  poster.typeText("Hi @x");
  poster.press(1);
  poster.moveTo(340, 230);
  poster.release(1);
  poster.click(5);
  ASSERT_TRUE(observer.waitUntil(
      [](const auto& events) { return !events.empty() && events.back().detail == 5; }, patience));
  const auto expected = withoutModifierKeys(observer.events());
  strike("r");
  ASSERT_TRUE(turnUntil([this] { return !isRecording(); }));

  window.clear();
  strike("p");
  ASSERT_TRUE(
      turnUntil([&] { return withoutModifierKeys(window.received()).size() >= expected.size(); }));
  expectSameInput(withoutModifierKeys(window.received()), expected);
  ASSERT_TRUE(turnUntil([this] { return !desktop.isPlaying(); }));

  desktop.setLog({inputEvent(EventType::leftMouseDown, 0, {100, 700}),
                  inputEvent(EventType::keyDown, 0.001, {100, 700}),
                  inputEvent(EventType::keyUp, 60, {100, 700})});
  strike("p");
  ASSERT_TRUE(turnUntil([this] { return isHolding(); }));
  poster.tapKey("Escape");
  EXPECT_TRUE(turnUntil([this] { return !desktop.isPlaying() && isNothingHeld(); }));
  EXPECT_EQ(presses("r") + presses("p") + presses("Escape"), 0);
}

TEST_F(Hardware, WhatThePersonDoesWhileKeysArePlayedIsAllThereAndSoIsWhatIsPlayed) {
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

  std::vector<XAction> actions;
  for (int i = 0; i < 10; ++i) {
    const auto word = poster.typing("edit");
    actions.insert(actions.end(), word.begin(), word.end());
  }
  pace(actions, 4ms);
  const auto act = [&](XEventKind kind, std::string_view key, std::chrono::milliseconds at) {
    actions.push_back({.kind = kind, .detail = poster.keycode(key), .offset = at});
  };
  act(XEventKind::keyPress, "h", 350ms);
  act(XEventKind::keyRelease, "h", 800ms);
  for (const auto key : {"Control_L", "Alt_L", "r"}) act(XEventKind::keyPress, key, 850ms);
  for (const auto key : {"r", "Alt_L", "Control_L"}) act(XEventKind::keyRelease, key, 1000ms);

  desktop.startPlayback(1);
  {
    const auto person = poster.start(actions);
    ASSERT_TRUE(turnUntil([this] { return presses("x") >= played; })) << presses("x");
    ASSERT_TRUE(turnUntil([this] { return !desktop.isPlaying(); }));
  }
  EXPECT_TRUE(turnUntil([this] { return isNothingHeld(); }));
  EXPECT_EQ(presses("x"), played);
  for (const auto letter : {"e", "d", "i", "t"}) EXPECT_EQ(presses(letter), 10) << letter;
  EXPECT_EQ(presses("r"), 0) << "it is the program's";
  EXPECT_GT(presses("h"), 3) << "their keyboard repeats it";
  EXPECT_EQ(repeats(), before);
}
