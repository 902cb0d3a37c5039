#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/x_drag_source.h"
#include "window/program.h"

namespace tapeloop::support {
namespace {

/// Drags that come from another program.
class DropTests : public testing::Test {
 protected:
  static constexpr std::uint32_t dropColor = 0xc3dbf8;

  // A run that leaves one recording in the store.
  void save() {
    Program program(desktop, {}, data.path());
    ASSERT_TRUE(program.recordsAClick());
    ASSERT_TRUE(program.named("push button", "Save Recording").press());
    (void)program.named("list item", "New Recording");
    ASSERT_TRUE(program.named("push button", "Close").press());
    ASSERT_EQ(program.exitCode(), 0);
  }
  // Drags what is at a point onto the panel. Nothing is let go of yet.
  bool dragToPanel(int x, int y) const {
    const ClientWindow window = desktop.windows("Tapeloop").front();
    user.moveTo(x, y);
    user.press(1);
    return eventually([&] {
      user.moveTo(window.x + 100, window.y + 168);
      user.moveTo(window.x + 110, window.y + 170);
      return showsDropArea();
    });
  }
  [[nodiscard]] bool showsDropArea() const {
    const ClientWindow window = desktop.windows("Tapeloop").front();
    return desktop.pixel(window.x + 95, window.y + 140) == dropColor;
  }
  bool drop(XDragSource& source) const {
    if (!dragToPanel(source.x() + 50, source.y() + 50)) return false;
    user.release(1);
    return source.waitForDrop(generousLimit).value_or(false);
  }
  static bool shows(const std::string& element) {
    return eventually([&] {
      return std::ranges::find(AccessibilityBus::instance().shown(), element) !=
             AccessibilityBus::instance().shown().end();
    });
  }
  // The lines that the program writes next once there were `before` of them; waits for `count`.
  static std::vector<std::string> linesSince(Program& program, std::size_t before,
                                             std::size_t count) {
    (void)program.process().waitForLine(before + count - 1, generousLimit);
    const auto& lines = program.process().lines();
    return {lines.begin() + static_cast<std::ptrdiff_t>(before), lines.end()};
  }

  TestDesktop desktop;
  TemporaryFolder data;
  const XPoster& user = desktop.user();
};

// What is dropped is not read: any drop loads the row that was dragged last.
TEST_F(DropTests, ADropFromAnotherProgramLoadsTheRowThatWasDraggedLastAndElseNothing) {
  ASSERT_NO_FATAL_FAILURE(save());
  Program program(desktop, {}, data.path());
  ASSERT_TRUE(program.named("push button", "Toggle Sidebar").press());
  (void)AccessibilityBus::instance().shown();

  std::size_t before = program.process().lines().size();
  XDragSource garbage(desktop.server().display(),
                      {.types = {"image/png", "text/uri-list", "application/x-color", "garbage"},
                       .text = std::string("\0\xFF%%%\r\n", 8)});
  ASSERT_TRUE(drop(garbage));
  ASSERT_TRUE(shows("alert: Recording Loaded"));
  const auto nothingDragged = linesSince(program, before, 2);
  ASSERT_EQ(nothingDragged.size(), 2U);
  EXPECT_EQ(nothingDragged.front(), "");
  const std::string& identifier = nothingDragged.back();
  ASSERT_TRUE(program.named("push button", "Play").press());
  EXPECT_EQ(program.named("alert", "Tapeloop").description(), "No input has been recorded yet.");
  ASSERT_TRUE(program.named("push button", "Dismiss").press());
  ASSERT_TRUE(program.writes("Dismiss button pressed."));
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));

  ASSERT_TRUE(program.loses("alert", "Recording Loaded")) << "it lies over the row";

  before = program.process().lines().size();
  program.point(program.named("list item", "New Recording"));
  user.press(1);
  ASSERT_TRUE(eventually([&] {
    user.moveTo(900, 600);
    user.moveTo(910, 610);
    return program.process().lines().size() > before;
  }));
  user.release(1);
  ASSERT_TRUE(desktop.waitForFreePointer());
  XDragSource text(desktop.server().display(), {.text = "a text"});
  ASSERT_TRUE(drop(text));
  EXPECT_EQ(linesSince(program, before, 3),
            (std::vector<std::string>{identifier, identifier, identifier}));
  program.click("Play");
  EXPECT_TRUE(program.writes("stopped playing"));
}

TEST_F(DropTests, ADragThatLeavesOrIsLostLeavesNothingBehind) {
  Program program(desktop);
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  {
    const XDragSource source(desktop.server().display(), {.text = "a text"});
    ASSERT_TRUE(dragToPanel(source.x() + 50, source.y() + 50));
    user.moveTo(900, 600);
    EXPECT_TRUE(eventually([&] { return !showsDropArea(); }));
    user.moveTo(source.x() + 50, source.y() + 50);
    user.release(1);
    ASSERT_TRUE(dragToPanel(source.x() + 50, source.y() + 50));
  }
  EXPECT_TRUE(eventually([&] { return !showsDropArea(); })) << "the other program is gone";
  user.release(1);
  XDragSource source(desktop.server().display(), {.text = "a text"});
  EXPECT_TRUE(drop(source)) << "the next one is taken";
}

}  // namespace
}  // namespace tapeloop::support
