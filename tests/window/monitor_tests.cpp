#include <csignal>
#include <cstdint>

#include <gtest/gtest.h>

#include "window/program.h"

namespace tapeloop::support {
namespace {

struct Area {
  int x;
  int y;
  int width;
  int height;
};

constexpr Area leftMonitor{0, 0, 800, 600};
constexpr Area rightMonitor{800, 100, 1000, 500};

/// Where the window is and goes to on more than one monitor, and on a small one.
class MonitorTests : public testing::Test {
 protected:
  static void setMonitors(TestDesktop& desktop) {
    const auto monitor = [](const Area& area, bool primary) {
      return XMonitor{static_cast<std::int16_t>(area.x), static_cast<std::int16_t>(area.y),
                      static_cast<std::uint16_t>(area.width),
                      static_cast<std::uint16_t>(area.height), primary};
    };
    desktop.server().setMonitors({monitor(leftMonitor, true), monitor(rightMonitor, false)});
  }
  static ClientWindow window(const TestDesktop& desktop) {
    return desktop.windows("Tapeloop").front();
  }
  static bool isWithin(const ClientWindow& window, const Area& area) {
    return window.x >= area.x && window.x + window.width <= area.x + area.width &&
           window.y >= area.y && window.y + window.height <= area.y + area.height;
  }
  static bool moveTo(const TestDesktop& desktop, int x, int y) {
    desktop.moveNewest("Tapeloop", x, y);
    return eventually([&] { return window(desktop).x == x && window(desktop).y == y; });
  }
  // Once it has grown, in one step or in more than one.
  static void expectWithin(const TestDesktop& desktop, const Area& area, int width, int height) {
    EXPECT_TRUE(eventually([&] {
      const ClientWindow now = window(desktop);
      return now.width >= width && now.height >= height && isWithin(now, area);
    })) << window(desktop).x
        << ' ' << window(desktop).y << ' ' << window(desktop).width << ' '
        << window(desktop).height;
  }

  TemporaryFolder data;
};

TEST_F(MonitorTests, ItIsWhereItWasLeftOnTheSecondMonitorAndOnAnotherOnceThatIsGone) {
  {
    TestDesktop desktop({.width = 1800, .height = 600});
    setMonitors(desktop);
    for (const bool first : {true, false}) {
      Program program(desktop, {}, data.path());
      ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
      if (first) {
        ASSERT_TRUE(moveTo(desktop, 1450, 350));
      }
      EXPECT_EQ(window(desktop).x, 1450);
      EXPECT_EQ(window(desktop).y, 350);
      ASSERT_TRUE(program.named("push button", "Close").press());
      ASSERT_EQ(program.exitCode(), 0);
    }
  }
  for (const Area& only : {Area{0, 0, 800, 600}, Area{0, 0, 1600, 480}}) {
    SCOPED_TRACE(only.width);
    TestDesktop desktop({.width = only.width, .height = only.height});
    Program program(desktop, {}, data.path());
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
    expectWithin(desktop, only, 1, 1);
    program.process().kill(SIGKILL);
  }
}

TEST_F(MonitorTests, AsItGrowsItStaysWhollyOnItsMonitor) {
  TestDesktop desktop({.width = 1800, .height = 600});
  setMonitors(desktop);
  Program program(desktop, {}, data.path());
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  const ClientWindow small = window(desktop);
  for (const Area& monitor : {leftMonitor, rightMonitor}) {
    SCOPED_TRACE(monitor.x);
    ASSERT_TRUE(moveTo(desktop, monitor.x + monitor.width - small.width - 10,
                       monitor.y + monitor.height - small.height - 10));
    ASSERT_TRUE(program.named("push button", "Toggle Sidebar").press());
    expectWithin(desktop, monitor, small.width + 280, 1);
    ASSERT_TRUE(program.named("push button", "Settings").press());
    expectWithin(desktop, monitor, small.width + 280, small.height + 200);
    ASSERT_TRUE(program.named("push button", "Save").press());
    ASSERT_TRUE(eventually([&] { return window(desktop).height < small.height + 100; }));
    ASSERT_TRUE(program.named("push button", "Toggle Sidebar").press());
    ASSERT_TRUE(eventually([&] { return window(desktop).width == small.width; }));
  }
}

TEST_F(MonitorTests, OnASmallScreenAllOfTheSheetIsWithinReach) {
  TestDesktop desktop({.width = 800, .height = 400});
  Program program(desktop, {}, data.path());
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  ASSERT_TRUE(program.named("push button", "Toggle Sidebar").press());
  ASSERT_TRUE(program.named("push button", "Settings").press());
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
  program.click(*save);
  EXPECT_TRUE(program.loses("push button", "Save"));
}

}  // namespace
}  // namespace tapeloop::support
