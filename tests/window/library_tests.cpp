#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "window/program.h"

namespace tapeloop::support {
namespace {

/// The window as the user has it, with pointer and keyboard, over more than one run.
class LibraryTests : public testing::Test {
 protected:
  static constexpr int narrow = 280;
  static constexpr int wide = 580;
  static constexpr std::uint32_t hoveredRowColor = 0xf2f2f2;
  static constexpr std::uint32_t dropColor = 0xc3dbf8;

  // A wait that the program's lines don't tell the end of.
  template <typename Condition>
  static bool eventually(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + generousLimit;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > end) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
  }
  bool waitForWidth(int width) const {
    return eventually([&] {
      const auto windows = desktop.windows("Tapeloop");
      return !windows.empty() && windows.front().width == width;
    });
  }
  [[nodiscard]] int left() const { return desktop.windows("Tapeloop").front().x; }
  [[nodiscard]] int top() const { return desktop.windows("Tapeloop").front().y; }
  // The row is drawn some time after the room for it.
  static bool pointAtFirstRow(Program& program) {
    program.point(390, 90);
    return program.shows(hoveredRowColor, 480, 75);
  }
  static bool isIdentifier(const std::string& line) {
    return line.size() == 36 && line.find_first_not_of("0123456789ABCDEF-") == std::string::npos;
  }
  static std::ptrdiff_t identifiers(Program& program) {
    const auto& lines = program.process().lines();
    return std::count_if(lines.begin(), lines.end(), isIdentifier);
  }

  void recordAClick(Program& program) {
    program.pressRecord();
    ASSERT_TRUE(program.writes("Recording: true"));
    user.moveTo(1100, 700);
    user.click(1);
    ASSERT_TRUE(eventually([&] {
      const auto& lines = program.process().lines();
      return std::ranges::any_of(
          lines, [](const auto& line) { return line.starts_with("Optional(leftMouseUp"); });
    }));
    program.pressRecord();
    ASSERT_TRUE(program.writes("Recording: false"));
  }

  void dragFirstRowToPanel(Program& program) {
    ASSERT_TRUE(pointAtFirstRow(program));
    user.press(1);
    program.point(380, 95);
    program.point(360, 98);
    program.point(340, 98);
    ASSERT_TRUE(eventually([&] { return identifiers(program) == 1; }));
    // Until the drag is under way the moves go unseen.
    ASSERT_TRUE(eventually([&] {
      program.point(100, 168);
      program.point(110, 170);
      return desktop.pixel(left() + 95, top() + 140) == dropColor;
    }));
    user.release(1);
    ASSERT_TRUE(eventually([&] { return identifiers(program) == 3; }))
        << "at the start of the drag, and when it is looked for";
  }

  void endWith(Program& program, int signal) {
    program.process().kill(signal);
    ASSERT_EQ(program.exitCode(), 128 + signal);
  }

  TestDesktop desktop;
  TemporaryFolder data;
  const XPoster& user = desktop.user();
};

TEST_F(LibraryTests, ARecordingIsSavedNamedLoadedByADragPlayedAndDeleted) {
  {
    Program program(desktop, {}, data.path());
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
    recordAClick(program);
    program.pressSave();
    ASSERT_TRUE(waitForWidth(wide)) << "the sidebar opens";
    ASSERT_TRUE(pointAtFirstRow(program)) << "with a row";
    program.pressName();
    user.pressKey("Control_L");
    user.tapKey("a");
    user.releaseKey("Control_L");
    user.typeText("Greeting");
    user.tapKey("Return");
    ASSERT_TRUE(program.writes("Saving name."));
    endWith(program, SIGTERM);
  }
  {
    Program program(desktop, {}, data.path());
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
    program.pressSidebar();
    ASSERT_TRUE(waitForWidth(wide));
    ASSERT_NO_FATAL_FAILURE(dragFirstRowToPanel(program));
    program.pressPlay();
    ASSERT_TRUE(program.writes("stopped playing"));
    program.pressSave();
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 2)) << "nothing was recorded in this run";
    user.tapKey("Return");
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
    program.pressTrash();
    ASSERT_TRUE(program.writes("Delete Recording"));
    endWith(program, SIGTERM);
  }
  Program program(desktop, {}, data.path());
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  program.pressSidebar();
  ASSERT_TRUE(waitForWidth(wide));
  program.pressTrash();  // the row is gone
  program.pressSidebar();
  ASSERT_TRUE(waitForWidth(narrow));
  const auto& lines = program.process().lines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "Delete Recording"), 0);
}

TEST_F(LibraryTests, TheWindowMovesWithItsBackgroundAndIsWhereItWasLeftInTheNextRun) {
  ClientWindow place;
  {
    Program program(desktop, {}, data.path());
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
    const ClientWindow before = desktop.windows("Tapeloop").front();
    user.moveTo(before.x + 20, before.y + 185);
    user.press(1);
    int way = 0;  // the window follows from where the pointer is when the move begins
    ASSERT_TRUE(eventually([&] {
      way += 5;
      user.moveTo(before.x + 20 + way, before.y + 185 + way / 2);
      return desktop.windows("Tapeloop").front().x > before.x;
    }));
    user.release(1);
    place = desktop.windows("Tapeloop").front();
    program.pressClose(narrow);
    ASSERT_EQ(program.exitCode(), 0);
  }
  Program program(desktop, {}, data.path());
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  EXPECT_EQ(desktop.windows("Tapeloop").front().x, place.x);
  EXPECT_EQ(desktop.windows("Tapeloop").front().y, place.y);
}

TEST_F(LibraryTests, ASecondStartBringsBackTheMinimisedWindowAndAKilledRunIsNotInTheWay) {
  {
    Program killed(desktop, {}, data.path());
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
    killed.process().kill(SIGKILL);
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 0));
  }
  Program first(desktop, {}, data.path());
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  first.pressMinimise();
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 0));
  Program second(desktop, {}, data.path());
  EXPECT_EQ(second.exitCode(), 0);
  EXPECT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  EXPECT_TRUE(first.process().isRunning());
}

}  // namespace
}  // namespace tapeloop::support
