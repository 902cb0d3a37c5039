#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "window/program.h"

namespace tapeloop::support {
namespace {

/// The window as the user has it, with pointer and keyboard, over more than one run.
class LibraryTests : public testing::Test {
 protected:
  static constexpr int narrow = 280;
  static constexpr int wide = 580;
  static constexpr std::uint32_t dropColor = 0xc3dbf8;

  bool waitForWidth(int width) const {
    return eventually([&] {
      const auto windows = desktop.windows("Tapeloop");
      return !windows.empty() && windows.front().width == width;
    });
  }
  [[nodiscard]] int left() const { return desktop.windows("Tapeloop").front().x; }
  [[nodiscard]] int top() const { return desktop.windows("Tapeloop").front().y; }
  static bool isIdentifier(const std::string& line) {
    return line.size() == 36 && line.find_first_not_of("0123456789ABCDEF-") == std::string::npos;
  }
  static std::ptrdiff_t identifiers(Program& program) {
    const auto& lines = program.process().lines();
    return std::count_if(lines.begin(), lines.end(), isIdentifier);
  }

  void recordAClick(Program& program) {
    program.click(program.recordButton());
    ASSERT_TRUE(program.writes("Recording: true"));
    user.moveTo(1100, 700);
    user.click(1);
    ASSERT_TRUE(eventually([&] {
      const auto& lines = program.process().lines();
      return std::ranges::any_of(
          lines, [](const auto& line) { return line.starts_with("Optional(leftMouseUp"); });
    }));
    program.click(program.recordButton());
    ASSERT_TRUE(program.writes("Recording: false"));
  }

  void dragToPanel(Program& program, const std::string& name) {
    program.point(program.named("list item", name));
    user.press(1);
    const auto row = program.named("list item", name).place();
    for (int way = 10; way <= 50; way += 20) {
      user.moveTo(row.x + row.width / 2 - way, row.y + row.height / 2);
    }
    ASSERT_TRUE(eventually([&] { return identifiers(program) == 1; }));
    // Until the drag is under way the moves go unseen.
    ASSERT_TRUE(eventually([&] {
      user.moveTo(left() + 100, top() + 168);
      user.moveTo(left() + 110, top() + 170);
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
    program.click("Save Recording");
    ASSERT_TRUE(waitForWidth(wide)) << "the sidebar opens";
    (void)program.named("list item", "New Recording");
    const Element field = program.named("text", "Recording Name");
    program.click(field);
    // The window manager holds the click back a little, and not the keys.
    ASSERT_TRUE(eventually([&] { return field.is(State::focused); }));
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
    program.click("Toggle Sidebar");
    ASSERT_TRUE(waitForWidth(wide));
    ASSERT_NO_FATAL_FAILURE(dragToPanel(program, "Greeting"));
    program.click("Play");
    ASSERT_TRUE(program.writes("stopped playing"));
    program.click("Save Recording");
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 2)) << "nothing was recorded in this run";
    user.tapKey("Return");
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
    program.click("Delete Recording");
    ASSERT_TRUE(program.writes("Delete Recording"));
    endWith(program, SIGTERM);
  }
  Program program(desktop, {}, data.path());
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  program.click("Toggle Sidebar");
  ASSERT_TRUE(waitForWidth(wide));
  EXPECT_TRUE(program.loses("list item", "Greeting"));
  program.click("Toggle Sidebar");
  ASSERT_TRUE(waitForWidth(narrow));
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
    ASSERT_TRUE(desktop.waitForFreePointer());
    place = desktop.windows("Tapeloop").front();
    program.click("Close");
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
  first.click("Minimise");
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 0));
  Program second(desktop, {}, data.path());
  EXPECT_EQ(second.exitCode(), 0);
  EXPECT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  EXPECT_TRUE(first.process().isRunning());
}

}  // namespace
}  // namespace tapeloop::support
