#include <algorithm>
#include <cmath>
#include <random>

#include "x11_fixture.h"

using namespace std::chrono_literals;
using namespace tapeloop;
using namespace tapeloop::support;

namespace {

XServerOptions germanKeyboard() {
  XServerOptions options;
  options.layout = "de";
  return options;
}

class Exactness : public X11Test {
 protected:
  Exactness() : X11Test(germanKeyboard()) {}

  void move(int x, int y) {
    actions.push_back(
        {XEventKind::motion, 0, static_cast<std::int16_t>(x), static_cast<std::int16_t>(y)});
  }
  void press(std::uint8_t button) { actions.push_back({XEventKind::buttonPress, button}); }
  void release(std::uint8_t button) { actions.push_back({XEventKind::buttonRelease, button}); }
  void click(std::uint8_t button) {
    press(button);
    release(button);
  }
  void tap(std::string_view key) {
    actions.push_back({XEventKind::keyPress, poster.keycode(key)});
    actions.push_back({XEventKind::keyRelease, poster.keycode(key)});
  }
  void type(std::string_view text) {
    const auto typing = poster.typing(text);
    actions.insert(actions.end(), typing.begin(), typing.end());
  }
  void tapWith(const std::vector<std::string_view>& modifiers, std::string_view key) {
    for (const auto name : modifiers)
      actions.push_back({XEventKind::keyPress, poster.keycode(name)});
    tap(key);
    for (const auto name : modifiers) {
      actions.push_back({XEventKind::keyRelease, poster.keycode(name)});
    }
  }

  std::vector<XAction> actions;
};

}  // namespace

TEST_F(Exactness, ClicksDragsScrollingAndTypingComeBackAsTheyWere) {
  move(200, 150);
  click(1);
  click(1);
  move(300, 200);
  press(1);
  for (int i = 1; i <= 20; ++i) move(300 + 7 * i, 200 + 3 * i);
  release(1);
  click(3);
  move(0, 0);
  move(1279, 799);
  for (const auto button : {4, 4, 5, 5, 5, 6, 7}) click(static_cast<std::uint8_t>(button));
  type("Hello, World! z\xE4\xDF @{\\}");
  tap("Caps_Lock");
  type("abc1");
  tap("Caps_Lock");
  tap("Return");
  tap("KP_Add");
  tapWith({"Control_L"}, "c");
  tapWith({"Alt_L"}, "Tab");
  tapWith({"Super_L"}, "e");
  tapWith({"ISO_Level3_Shift"}, "q");
  tapWith({"Control_L", "Shift_L", "Alt_L"}, "F5");
  move(10, 20);
  pace(actions, 2ms);

  const auto recorded = record(actions);
  ASSERT_EQ(recorded.size(), actions.size());
  for (const double speed : {1.0, 10.0}) {
    SCOPED_TRACE(speed);
    const auto expected = withoutModifierKeys(recorded);
    expectSameInput(replay(speed, expected.size()), expected);
  }
  EXPECT_TRUE(isNothingHeld());
  EXPECT_EQ(pointerState(server.display()).modifiers, 0);
}

TEST_F(Exactness, AThousandMovesComeBackInOrderAndAtTheirTime) {
  std::mt19937 random(7);
  std::uniform_int_distribution<int> gap(200, 1200);
  std::chrono::nanoseconds offset{0};
  for (int i = 0; i < 1000; ++i) {
    move((i * 37) % 1280, (i * 53) % 800);
    actions.back().offset = offset;
    offset += std::chrono::microseconds(gap(random));
  }
  const auto recorded = record(actions);
  ASSERT_EQ(recorded.size(), actions.size());
  for (const double speed : {1.0, 10.0}) {
    SCOPED_TRACE(speed);
    const auto replayed = replay(speed, recorded.size());
    expectSameInput(replayed, recorded);
    // A drift would show as a difference in length; a busy machine only delays single events.
    const auto length = [](const auto& events) {
      return static_cast<double>(events.back().arrival - events.front().arrival) / 1e9;
    };
    EXPECT_NEAR(length(replayed), length(recorded) / speed, 0.2);
  }
}

TEST_F(Exactness, KeyHeldForASecondTypesAsManyCharactersAtAnySpeed) {
  actions = {{XEventKind::keyPress, poster.keycode("a")},
             {XEventKind::keyRelease, poster.keycode("a")}};
  actions.back().offset = 1s;
  const auto released = [](const XEventList::Events& events) {
    return !events.empty() && events.back().kind == XEventKind::keyRelease;
  };
  desktop.startCapture();
  {
    const auto posting = poster.start(actions);
    ASSERT_TRUE(desktop.runUntilElsewhere([&] { return released(observer.events()); }, patience));
  }
  desktop.stopCapture();
  ASSERT_TRUE(window.waitUntil(released, patience));
  const auto typed = window.count(XEventKind::keyPress);
  ASSERT_GT(typed, 3U) << "the server repeated the key";

  for (const double speed : {1.0, 10.0}) {
    SCOPED_TRACE(speed);
    window.clear();
    ASSERT_TRUE(desktop.playLog(speed, patience));
    poster.moveTo(5, 5);
    ASSERT_TRUE(window.waitUntil(
        [](const auto& events) {
          return !events.empty() && events.back().kind == XEventKind::motion;
        },
        patience));
    EXPECT_EQ(window.count(XEventKind::keyPress), typed);
  }
}

TEST_F(Exactness, PositionsComeBackOnBothMonitorsWhenTheRightOneIsPrimary) {
  server.setMonitors({{0, 0, 640, 800, false}, {640, 0, 640, 800, true}});
  const auto screens = [this] { return desktop.screens(); };
  ASSERT_TRUE(desktop.runUntilElsewhere([&] { return screens().size() == 2; }, patience));
  EXPECT_EQ(screens()[0].frame, (Rect{{0, 0}, {640, 800}}));
  EXPECT_EQ(screens()[1].frame, (Rect{{-640, 0}, {640, 800}}));

  for (const int x : {650, 1279, 640, 639, 0, 320}) {
    move(x, 780);
    click(1);
  }
  pace(actions, 2ms);
  const auto recorded = record(actions);
  EXPECT_EQ(desktop.contentView().captureState().eventLog.front().locationInWindow,
            (Point{10, 20}));
  expectSameInput(replay(10, recorded.size()), recorded);
}

TEST(QuietDesktop, LastEventsOfACaptureArriveWithoutAnythingElseHappening) {
  // No other client is there: whatever the server writes to one would bring the events along.
  const XServer server;
  const XPoster poster(server.display());
  X11Desktop desktop(server.display());
  desktop.startCapture();
  const auto& log = desktop.contentView().captureState().eventLog;
  std::size_t expected = 0;
  for (const int count : {1, 2, 33, 1, 100}) {
    for (int i = 0; i < count; ++i) poster.post({XEventKind::motion, 0, std::int16_t(10 + i), 10});
    poster.flush();
    expected += static_cast<std::size_t>(count);
    EXPECT_TRUE(desktop.runUntil([&] { return log.size() == expected; }, 5s))
        << log.size() << " of " << expected;
  }
  for (int i = 0; i < 5; ++i) poster.post({XEventKind::motion, 0, std::int16_t(10 + i), 20});
  poster.sync();
  EXPECT_EQ(desktop.stopCapture().size(), expected + 5) << "stopping brings what was under way";
}
