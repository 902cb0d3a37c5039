#include "support/input_monitor_contract.h"
#include "x11_fixture.h"

// Monitors and keyboards that come and go while the program records and plays.

using namespace tapeloop;
using namespace tapeloop::support;

namespace {

class DesktopChange : public X11Test {
 protected:
  [[nodiscard]] bool haveScreens(const std::vector<Rect>& frames) {
    return turnUntil([&] {
      std::vector<Rect> found;
      for (const Screen& screen : desktop.x.screens.screens()) found.push_back(screen.frame);
      return found == frames;
    });
  }
  void divide() {
    server.setMonitors({{0, 0, 640, 800, false}, {640, 0, 640, 800, true}});
    ASSERT_TRUE(haveScreens({{{0, 0}, {640, 800}}, {{-640, 0}, {640, 800}}}));
  }
  void resize() {
    server.resize(1000, 700);
    ASSERT_TRUE(haveScreens({{{0, 0}, {1000, 700}}}));
  }

  Point captureMove(int x, int y) {
    const auto before = desktop.log().size();
    user.moveTo(x, y);
    EXPECT_TRUE(turnUntil([&] { return desktop.log().size() == before + 1; }));
    return desktop.log().back().locationInWindow;
  }

  /// Turns the program until the pointer has been moved there.
  void waitForMove(int x, int y) {
    ASSERT_TRUE(turnUntil([&] {
      const auto events = observer.events();
      return !events.empty() && events.back().rootX == x && events.back().rootY == y;
    }));
  }
};

}  // namespace

TEST_F(DesktopChange, CapturedPositionsFollowTheMonitors) {
  desktop.startCapture();
  EXPECT_EQ(captureMove(100, 100), (Point{100, 700}));
  ASSERT_NO_FATAL_FAILURE(divide());
  EXPECT_EQ(captureMove(700, 600), (Point{60, 200}));
  EXPECT_EQ(captureMove(600, 600), (Point{-40, 200}));
  ASSERT_NO_FATAL_FAILURE(resize());
  EXPECT_EQ(captureMove(100, 100), (Point{100, 600}));
  int x = 100;
  expectHandlersMayAddAndRemoveMonitors(desktop.x.inputMonitor, [&] { captureMove(++x, 100); });
  EXPECT_EQ(desktop.stopCapture().size(), 6U);
}

TEST_F(DesktopChange, PlaybackGoesOnOnTheMonitorsThatAreThere) {
  // To and fro, for longer than the changes take.
  std::vector<InputEvent> events;
  for (int i = 0; i < 20'000; ++i) {
    events.push_back(inputEvent(EventType::mouseMoved, i * 0.002, {100.0 + i % 2, 300}));
  }
  desktop.setLog(events);
  desktop.startPlayback(1);
  ASSERT_NO_FATAL_FAILURE(waitForMove(101, 500));
  ASSERT_NO_FATAL_FAILURE(divide());
  ASSERT_NO_FATAL_FAILURE(waitForMove(741, 500));
  ASSERT_NO_FATAL_FAILURE(resize());
  ASSERT_NO_FATAL_FAILURE(waitForMove(101, 400));
  EXPECT_TRUE(desktop.isPlaying());
  desktop.contentView.escapeKeyPressed();
  EXPECT_TRUE(turnUntil([this] { return isNothingHeld(); }));
}

TEST_F(DesktopChange, PlaybackGoesOnWhenAKeyboardIsRemoved) {
  desktop.setLog({inputEvent(EventType::leftMouseDown, 0, {100, 700}),
                  inputEvent(EventType::keyDown, 0.001, {100, 700}),
                  inputEvent(EventType::keyUp, 1, {120, 680}),
                  inputEvent(EventType::leftMouseUp, 1.001, {120, 680}),
                  inputEvent(EventType::keyDown, 1.002, {120, 680}),
                  inputEvent(EventType::keyUp, 1.003, {120, 680}),
                  inputEvent(EventType::mouseMoved, 1.004, {33, 767})});
  const std::vector<std::function<void()>> changes{
      [this] {
        addMasterDevices(server.display(), "second");
        removeMasterDevices(server.display(), "second");
      },
      [this] { detachDevice(server.display(), server.keyboardName()); }};
  for (const auto& change : changes) {
    observer.clear();
    desktop.startPlayback(1);
    ASSERT_TRUE(turnUntil([this] { return isHolding(); }));
    change();
    ASSERT_NO_FATAL_FAILURE(waitForMove(33, 33));
    EXPECT_EQ(observer.count(XEventKind::keyPress), 2U);
    EXPECT_EQ(observer.count(XEventKind::buttonRelease), 1U);
    EXPECT_TRUE(turnUntil([this] { return isNothingHeld(); }));
  }
}
