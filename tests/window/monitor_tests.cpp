#include <csignal>
#include <string>

#include <gtest/gtest.h>

#include "window/program.h"

namespace tapeloop::support {
namespace {

constexpr XMonitor leftMonitor{0, 0, 800, 600, true};
constexpr XMonitor rightMonitor{800, 100, 1000, 500, false};

/// The place and size of the window on two monitors, and on a small one.
class MonitorTests : public testing::Test {
 protected:
  static bool isWithin(const ClientWindow& window, const XMonitor& area) {
    return window.x >= area.x && window.x + window.width <= area.x + area.width &&
           window.y >= area.y && window.y + window.height <= area.y + area.height;
  }
  // Waits until the window has at least this size; it grows in one step or more.
  static void expectWithin(const TestDesktop& desktop, const XMonitor& area, int width,
                           int height) {
    ClientWindow now;
    EXPECT_TRUE(eventually([&] {
      now = desktop.window();
      return now.width >= width && now.height >= height && isWithin(now, area);
    })) << now.x
        << ' ' << now.y << ' ' << now.width << ' ' << now.height;
  }
  static void expectToGrowOnItsMonitor(const TestDesktop& desktop, Program& program) {
    const ClientWindow small = desktop.window();
    for (const XMonitor& monitor : {leftMonitor, rightMonitor}) {
      SCOPED_TRACE(monitor.x);
      const int x = monitor.x + monitor.width - small.width - 10;
      const int y = monitor.y + monitor.height - small.height - 10;
      desktop.moveNewest("Tapeloop", x, y);
      ASSERT_TRUE(eventually([&] { return desktop.window().x == x && desktop.window().y == y; }));
      program.press("Toggle Sidebar");
      expectWithin(desktop, monitor, small.width + 280, 1);
      program.press("Settings");
      expectWithin(desktop, monitor, small.width + 280, small.height + 200);
      program.press("Save");
      ASSERT_TRUE(eventually([&] { return desktop.window().height < small.height + 100; }));
      program.press("Toggle Sidebar");
      ASSERT_TRUE(eventually([&] { return desktop.window().width == small.width; }));
    }
  }

  TemporaryFolder data;
};

TEST_F(MonitorTests, ItIsWhereItWasLeftAndGrowsOnItsMonitor) {
  {
    TestDesktop desktop({.width = 1800, .height = 600});
    desktop.server().setMonitors({leftMonitor, rightMonitor});
    ClientWindow place;
    {
      Program program(desktop, {}, data.path());
      const ClientWindow before = desktop.window();
      const auto dragBy = [&](int x, int y) {
        desktop.user().moveTo(before.x + 20 + x, before.y + 185 + y);
      };
      dragBy(0, 0);
      desktop.user().press(1);
      int way = 0;  // in small steps: the window manager starts the move where the pointer is then
      ASSERT_TRUE(eventually([&] {
        way += 5;
        dragBy(way, way / 2);
        return desktop.window().x > before.x;
      }));
      ASSERT_TRUE(eventually([&] {
        dragBy(1000, 100);
        dragBy(1010, 110);
        return isWithin(desktop.window(), rightMonitor);
      }));
      desktop.user().release(1);
      ASSERT_TRUE(desktop.waitForFreePointer());
      place = desktop.window();
      EXPECT_EQ(program.close(), 0);
    }
    Program program(desktop, {}, data.path());
    EXPECT_EQ(desktop.window().x, place.x);
    EXPECT_EQ(desktop.window().y, place.y);
    expectToGrowOnItsMonitor(desktop, program);
    desktop.moveNewest("Tapeloop", place.x, place.y);
    ASSERT_TRUE(eventually([&] { return desktop.window().x == place.x; }));
    EXPECT_EQ(program.close(), 0);
  }
  for (const XMonitor& only : {XMonitor{0, 0, 800, 600}, XMonitor{0, 0, 1600, 480}}) {
    SCOPED_TRACE(only.width);
    TestDesktop desktop({.width = only.width, .height = only.height});
    Program program(desktop, {}, data.path());
    expectWithin(desktop, only, 1, 1);
    program.process().kill(SIGKILL);
  }
}

TEST_F(MonitorTests, OnASmallScreenAllOfTheSheetIsWithinReach) {
  TestDesktop desktop({.width = 800, .height = 400});
  Program program(desktop, {}, data.path());
  program.press("Toggle Sidebar");
  program.press("Settings");
  expectWithin(desktop, {0, 0, 800, 400}, 500, 390);
  const auto save =
      program.accessible().find([](const Element& element) { return element.name() == "Save"; });
  ASSERT_TRUE(save);
  EXPECT_TRUE(eventually([&] { return save->place().y > 400; })) << "too high, so that it scrolls";
  ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
  ASSERT_TRUE(eventually([&] {
    if (!save->is(State::focused)) desktop.user().tapKey("Tab");
    const auto place = save->place();
    return save->is(State::focused) && place.y + place.height <= 400;
  }));
  program.saveSettings();
}

TEST_F(MonitorTests, AWindowLargerThanTheScreenIsScrolled) {
  constexpr int scale = 3;
  constexpr XMonitor screen{0, 0, 267 * scale, 200 * scale};
  TestDesktop desktop({.width = screen.width, .height = screen.height});
  store(data.path(), {{"recordingList", listOf({"First"})}});
  Program program(desktop, {}, data.path(), {"env", "QT_SCALE_FACTOR=" + std::to_string(scale)});
  expectWithin(desktop, screen, 1, 1);
  program.press("Toggle Sidebar");
  expectWithin(desktop, screen, screen.width, screen.height);
  const auto trash = program.accessible().find(
      [](const Element& element) { return element.name() == "Delete Recording"; });
  ASSERT_TRUE(trash);
  const int away = trash->place().x;
  const auto comesNearer = [&] { return trash->place().x < away; };
  ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
  desktop.user().moveTo(30, 300);
  EXPECT_TRUE(eventually([&] {
    desktop.user().click(7);
    return comesNearer();
  })) << "by the wheel";
  EXPECT_TRUE(eventually([&] {
    desktop.user().click(6);
    return trash->place().x == away;
  }));
  EXPECT_TRUE(eventually([&] {
    if (!trash->is(State::focused)) desktop.user().tapKey("Tab");
    return trash->is(State::focused) && comesNearer();
  })) << "by the keyboard";
  desktop.user().moveTo(screen.width - 16 * scale, 15 * scale);
  desktop.user().click(1);
  EXPECT_EQ(program.exitCode(), 0);
}

TEST_F(MonitorTests, MonitorsMayChangeDuringCaptureAndPlayback) {
  TestDesktop desktop;
  Program program(desktop);
  const auto capturesAt = [&](int x, int y, const std::string& place) {
    return eventually([&] {
      desktop.user().moveTo(x, y);
      desktop.user().moveTo(x + 1, y);
      return program.captureCount("mouseMoved at (" + place + ")") > 0;
    });
  };
  program.startCapture();
  desktop.server().setMonitors({{0, 0, 640, 800}, {640, 0, 640, 800, true}});
  EXPECT_TRUE(capturesAt(900, 650, "260, 150"));
  desktop.server().resize(1000, 760);
  EXPECT_TRUE(capturesAt(900, 600, "900, 160"));
  program.stopCapture();
  program.press("Play");
  desktop.server().resize(1280, 800);
  ASSERT_TRUE(program.writes("stopped playing"));
  EXPECT_EQ(program.close(), 0);
}

}  // namespace
}  // namespace tapeloop::support
