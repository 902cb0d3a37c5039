#include <cstdint>
#include <ios>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "support/x_events.h"
#include "window/program.h"

namespace tapeloop::support {
namespace {

constexpr std::uint32_t red = 0xdc5a50;
constexpr std::uint32_t white = 0xffffff;

/// The signs "REC" and "Press Escape to Stop", by the pixels of the screen.
class IndicatorTests : public testing::Test {
 protected:
  static bool becomesRed(const TestDesktop& desktop, int x, int y) {
    return eventually([&] { return desktop.pixel(x, y) == red; });
  }
  // The first red pixel in a line of the screen, and the one after the last.
  static std::pair<int, int> redPart(const TestDesktop& desktop, int y, int width) {
    int begin = 0;
    while (begin < width && desktop.pixel(begin, y) != red) ++begin;
    int end = width;
    while (end > begin && desktop.pixel(end - 1, y) != red) --end;
    return {begin, end};
  }
};

TEST_F(IndicatorTests, TheSignLetsClicksAndFocusThrough) {
  TestDesktop desktop;
  Program program(desktop);
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
  XWindow application(desktop.server().display(),
                      {.x = 0, .y = 0, .width = 300, .height = 200, .overrideRedirect = true});
  application.takeFocus();
  program.startCapture();
  ASSERT_TRUE(becomesRed(desktop, 45, 5));
  EXPECT_TRUE(application.hasFocus());
  // No dark pixel, as the edge of a window would be, between the sign and the application.
  for (int y = 0; y < 50; ++y) {
    for (int x = 0; x < 100; ++x) {
      const std::uint32_t seen = desktop.pixel(x, y);
      EXPECT_GE(seen >> 16, 0xd0U) << std::hex << seen << " at " << std::dec << x << ", " << y;
    }
  }
  EXPECT_EQ(desktop.pixel(0, 0), white) << "its corners are round";

  desktop.user().moveTo(45, 8);
  desktop.user().click(1);
  ASSERT_TRUE(eventually([&] { return application.count(XEventKind::buttonRelease) == 1; }));
  desktop.user().tapKey("a");
  ASSERT_TRUE(eventually([&] { return application.count(XEventKind::keyRelease) == 1; }));
  EXPECT_TRUE(program.captures("leftMouseDown at (45, 792)"));
  EXPECT_TRUE(program.captures("keyUp"));
  application.raise();
  program.stopCapture();
  EXPECT_TRUE(eventually([&] { return desktop.pixel(45, 5) == white; })) << "it is gone";
}

TEST_F(IndicatorTests, TheyAreOnThePrimaryMonitorAtEveryScale) {
  constexpr int left = 800;
  constexpr int middle = 1300;
  double center = 0;
  for (const double scale : {1.0, 1.5, 2.0}) {
    SCOPED_TRACE(scale);
    TestDesktop desktop({.width = 1800, .height = 600});
    desktop.server().setMonitors({{0, 0, left, 600, false}, {left, 0, 1000, 600, true}});
    const TemporaryFolder data;
    store(data.path(), {{"repeatPlayback", true},
                        {"waitBeforeRepeating", true},
                        {"waittimenumber", std::int64_t{60}},
                        {"waittimeunit", "hours"}});
    Program program(desktop, {}, data.path(), {"env", "QT_SCALE_FACTOR=" + std::to_string(scale)});
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
    program.startCapture();
    // A line above the letters, where the corners still round the sign off.
    const int line = static_cast<int>(6 * scale);
    ASSERT_TRUE(becomesRed(desktop, left + 4, line));
    EXPECT_NE(desktop.pixel(left - 1, line), red);
    desktop.user().moveTo(1500, 500);
    desktop.user().click(1);
    program.stopCapture();
    ASSERT_TRUE(eventually([&] { return desktop.pixel(left + 4, line) != red; }));

    program.press("Play");
    ASSERT_TRUE(becomesRed(desktop, middle - 80, line));
    const auto [begin, end] = redPart(desktop, line, 1800);
    if (center == 0) {
      EXPECT_NEAR(begin, middle - 90, 2);
      center = (begin + end) / 2.0;
    }
    EXPECT_NEAR((begin + end) / 2.0, center, scale);
    EXPECT_GT(end - begin, 150 * scale) << "as large as everything else";
    desktop.user().tapKey("Escape");
    EXPECT_TRUE(eventually([&] { return desktop.pixel(middle - 80, line) != red; }));
  }
}

}  // namespace
}  // namespace tapeloop::support
