#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <random>
#include <ranges>

#include "x11_fixture.h"

using namespace std::chrono_literals;
using namespace tapeloop;
using namespace tapeloop::support;

namespace {

class Exactness : public X11Test {
 protected:
  explicit Exactness(bool hardware = false) : X11Test({.layout = "de", .hardware = hardware}) {}

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
  void type(std::string_view text) {
    const auto typing = poster.typing(text);
    actions.insert(actions.end(), typing.begin(), typing.end());
  }
  /// Each goes down while those before it are held.
  void strike(std::initializer_list<std::string_view> keys) {
    for (const auto key : keys) actions.push_back({XEventKind::keyPress, poster.keycode(key)});
    for (const auto key : std::views::reverse(keys)) {
      actions.push_back({XEventKind::keyRelease, poster.keycode(key)});
    }
  }

  std::vector<XAction> actions;
};

/// The same whether the user is a client or has devices.
class ExactnessOfEitherUser : public Exactness, public testing::WithParamInterface<bool> {
 protected:
  ExactnessOfEitherUser() : Exactness(GetParam()) {}
};
INSTANTIATE_TEST_SUITE_P(, ExactnessOfEitherUser, testing::Bool(),
                         [](const auto& user) { return user.param ? "Hardware" : "Client"; });

}  // namespace

TEST_P(ExactnessOfEitherUser, ClicksDragsScrollingAndTypingComeBackAsTheyWere) {
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
  strike({"Caps_Lock"});
  type("abc1");
  strike({"Caps_Lock"});
  strike({"Return"});
  strike({"KP_Add"});
  strike({"Control_L", "c"});
  strike({"Alt_L", "Tab"});
  strike({"Super_L", "e"});
  strike({"ISO_Level3_Shift", "q"});
  strike({"Control_L", "Shift_L", "Alt_L", "F5"});
  move(10, 20);
  pace(actions, 2ms);

  const auto recorded = record(actions);
  ASSERT_EQ(recorded.size(), actions.size());
  const auto expected = withoutModifierKeys(recorded);
  for (const double speed : {1.0, 10.0}) {
    SCOPED_TRACE(speed);
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

TEST_P(ExactnessOfEitherUser, KeyHeldForASecondTypesAsManyCharactersAtAnySpeed) {
  strike({"a"});
  actions.back().offset = 1s;
  const auto endsWith = [](XEventKind kind) {
    return [kind](const auto& events) { return !events.empty() && events.back().kind == kind; };
  };
  const auto released = endsWith(XEventKind::keyRelease);
  desktop.startCapture();
  {
    const auto posting = poster.start(actions);
    ASSERT_TRUE(turnUntil([&] { return released(observer.events()); }));
  }
  desktop.stopCapture();
  ASSERT_TRUE(window.waitUntil(released, patience));
  const auto typed = window.count(XEventKind::keyPress);
  ASSERT_GT(typed, 3U) << "the server repeated the key";

  for (const double speed : {1.0, 10.0}) {
    SCOPED_TRACE(speed);
    window.clear();
    ASSERT_TRUE(desktop.playLog(speed, patience));
    poster.moveTo(static_cast<int>(speed), 5);  // elsewhere than before: a mouse must move
    ASSERT_TRUE(window.waitUntil(endsWith(XEventKind::motion), patience));
    EXPECT_EQ(window.count(XEventKind::keyPress), typed);
  }
}

TEST_F(Exactness, PositionsComeBackOnBothMonitorsWhenTheRightOneIsPrimary) {
  server.setMonitors({{0, 0, 640, 800, false}, {640, 0, 640, 800, true}});
  ASSERT_TRUE(turnUntil([this] { return desktop.screens().size() == 2; }));
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
