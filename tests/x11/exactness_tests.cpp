#include <random>

#include "x11_fixture.h"

using namespace std::chrono_literals;
using namespace tapeloop;
using namespace tapeloop::support;

namespace {

class Exactness : public X11Test {
 protected:
  explicit Exactness(bool hardware = false) : X11Test({.layout = "de", .hardware = hardware}) {}
};

/// The same whether the user is a client or has devices.
class ExactnessOfEitherUser : public Exactness, public testing::WithParamInterface<bool> {
 protected:
  ExactnessOfEitherUser() : Exactness(GetParam()) {}
};
INSTANTIATE_TEST_SUITE_P(, ExactnessOfEitherUser, testing::Bool(),
                         [](const auto& user) { return user.param ? "Hardware" : "Client"; });

}  // namespace

TEST_P(ExactnessOfEitherUser, EverythingComesBackAsItWas) {
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
  for (const Keys& keys : {Keys{"Caps_Lock"},
                           {"Return"},
                           {"KP_Add"},
                           {"Control_L", "c"},
                           {"Alt_L", "Tab"},
                           {"Super_L", "e"},
                           {"ISO_Level3_Shift", "q"},
                           {"Control_L", "Shift_L", "Alt_L", "F5"}}) {
    strike(keys);
  }
  move(10, 20);
  pace(actions, 2ms);

  const auto expected = withoutModifierKeys(record());
  for (const double speed : {1.0, 10.0}) {
    SCOPED_TRACE(speed);
    expectSameInput(replay(speed, expected.size()), expected);
  }
  EXPECT_TRUE(isNothingHeld());
  EXPECT_EQ(modifiersInForce(), 0);
}

TEST_F(Exactness, AThousandMovesComeBackAtTheirTime) {
  std::mt19937 random(7);
  std::uniform_int_distribution<int> gap(200, 1200);
  std::chrono::nanoseconds offset{0};
  for (int i = 0; i < 1000; ++i) {
    move((i * 37) % 1280, (i * 53) % 800);
    actions.back().offset = offset;
    offset += std::chrono::microseconds(gap(random));
  }
  const auto recorded = record();
  ASSERT_EQ(recorded.size(), 1000U);
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

TEST_P(ExactnessOfEitherUser, HeldKeyTypesAsManyCharactersAtAnySpeed) {
  strike({"a"});
  actions.back().offset = 1s;
  const auto endsWith = [](XEventKind kind) {
    return [kind](const auto& events) { return !events.empty() && events.back().kind == kind; };
  };
  const auto released = endsWith(XEventKind::keyRelease);
  desktop.startCapture();
  {
    const auto posting = user.start(actions);
    ASSERT_TRUE(turnUntil([&] { return released(observer.events()); }));
  }
  desktop.stopCapture();
  ASSERT_TRUE(window.waitUntil(released, timeout));
  const auto typed = window.count(XEventKind::keyPress);
  ASSERT_GT(typed, 3U) << "the server repeated the key";

  for (const double speed : {1.0, 10.0}) {
    SCOPED_TRACE(speed);
    window.clear();
    ASSERT_TRUE(desktop.playLog(speed, timeout));
    user.moveTo(static_cast<int>(speed), 5);  // elsewhere than before: a mouse must move
    ASSERT_TRUE(window.waitUntil(endsWith(XEventKind::motion), timeout));
    EXPECT_EQ(window.count(XEventKind::keyPress), typed);
  }
}

TEST_F(Exactness, PositionsComeBackWhenTheRightMonitorIsPrimary) {
  server.setMonitors({{0, 0, 640, 800, false}, {640, 0, 640, 800, true}});
  ASSERT_TRUE(turnUntil([this] { return desktop.x.screens.screens().size() == 2; }));
  for (const int x : {650, 1279, 640, 639, 0, 320}) {
    move(x, 780);
    click(1);
  }
  pace(actions, 2ms);
  const auto recorded = record();
  EXPECT_EQ(desktop.log().front().locationInWindow, (Point{10, 20}));
  expectSameInput(replay(10, recorded.size()), recorded);
}

TEST(QuietDesktop, LastEventsOfACaptureArrive) {
  // No other client is there: whatever the server writes to one would bring the events along.
  const XServer server;
  const XUser user(server.display());
  X11Desktop desktop(server.display());
  desktop.startCapture();
  const auto moves = [&](int count, std::int16_t y) {
    for (int i = 0; i < count; ++i) user.post({XEventKind::motion, 0, std::int16_t(10 + i), y});
    user.flush();
  };
  std::size_t expected = 0;
  for (const int count : {1, 2, 33, 1, 100}) {
    moves(count, 10);
    expected += static_cast<std::size_t>(count);
    EXPECT_TRUE(desktop.runUntil([&] { return desktop.log().size() == expected; }, 5s))
        << desktop.log().size() << " of " << expected;
  }
  moves(5, 20);
  user.sync();
  EXPECT_EQ(desktop.stopCapture().size(), expected + 5) << "stopping brings what was under way";
}
