#include <algorithm>
#include <csignal>
#include <cstddef>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/x_drag_source.h"
#include "window/program.h"

namespace tapeloop::support {
namespace {

using testing::ElementsAre;

/// Rows of the library that are dragged, and drags that come from another program.
class DropTests : public testing::Test {
 protected:
  static constexpr std::uint32_t dropColor = 0xc3dbf8;

  // Moves what is dragged onto the panel. Repeated, since moves before the drag starts have no
  // effect.
  [[nodiscard]] bool comesToPanel() const {
    const ClientWindow window = desktop.window();
    return eventually([&] {
      user.moveTo(window.x + 100, window.y + 168);
      user.moveTo(window.x + 110, window.y + 170);
      return showsDropArea();
    });
  }
  [[nodiscard]] bool showsDropArea() const {
    const ClientWindow window = desktop.window();
    return desktop.pixel(window.x + 95, window.y + 140) == dropColor;
  }
  bool dragToPanel() const {
    user.moveTo(XDragSource::middleX, XDragSource::middleY);
    user.press(1);
    return comesToPanel();
  }
  bool drop(XDragSource& source) const {
    if (!dragToPanel()) return false;
    user.release(1);
    return source.waitForDrop(generousLimit);
  }
  // Drags a row until the program traces its identifier.
  bool drag(Program& program, const std::string& row) const {
    program.process().clearLines();
    program.point(program.named(Role::listItem, row));
    user.press(1);
    return eventually([&] {
      user.moveTo(900, 600);
      user.moveTo(910, 610);
      return !program.process().lines().empty();
    });
  }

  TestDesktop desktop;
  TemporaryFolder data;
  const XUser& user = desktop.user();
};

// The program does not read what is dropped: any drop loads the row that was dragged last.
TEST_F(DropTests, AnyDropLoadsTheRowThatWasDraggedLast) {
  {
    Program program(desktop, {}, data.path());
    program.recordClick();
    program.saveRecording();
    program.click(program.named(Role::text, "Recording Name"));
    // The window manager delays the click, but not the keys that follow it.
    ASSERT_TRUE(program.focuses("Recording Name"));
    user.strike({"Control_L", "a"});
    user.typeText("Greeting");
    user.tapKey("Return");
    ASSERT_TRUE(program.writes("Saving name."));
    program.process().kill(SIGTERM);
    ASSERT_EQ(program.exitCode(), 128 + SIGTERM);
  }
  Program program(desktop, {}, data.path());
  program.press("Toggle Sidebar");
  (void)program.named(Role::listItem, "Greeting");
  ASSERT_TRUE(desktop.waitForRest()) << "the sidebar slides";
  const auto lines = [&](std::size_t count) {
    (void)program.process().waitForLine(count - 1, generousLimit);
    return program.process().lines();
  };
  program.process().clearLines();
  XDragSource garbage(desktop.server().display(), std::string("\0\xFF%%%\r\n", 8),
                      {"image/png", "text/uri-list", "application/x-color", "garbage"});
  ASSERT_TRUE(drop(garbage));
  (void)program.named(Role::alert, "Recording Loaded");
  ASSERT_EQ(lines(2).size(), 2U);
  const std::string identifier = lines(2).back();
  EXPECT_THAT(lines(2), ElementsAre("", identifier)) << "nothing was dragged";
  program.press("Play");
  EXPECT_EQ(program.dismissAlert(), "No input has been recorded yet.");
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  ASSERT_TRUE(program.loses(Role::alert, "Recording Loaded")) << "it lies over the row";

  ASSERT_TRUE(drag(program, "Greeting"));
  user.release(1);
  ASSERT_TRUE(desktop.waitForFreePointer());
  XDragSource text(desktop.server().display(), "a text");
  ASSERT_TRUE(drop(text));
  EXPECT_THAT(lines(3), ElementsAre(identifier, identifier, identifier));
  program.click("Play");
  EXPECT_TRUE(program.writes("stopped playing"));
  ASSERT_TRUE(program.loses(Role::alert, "Recording Loaded"));

  ASSERT_TRUE(drag(program, "Greeting"));
  ASSERT_TRUE(comesToPanel());
  user.release(1);
  EXPECT_THAT(lines(3), ElementsAre(identifier, identifier, identifier));
}

TEST_F(DropTests, ADragBelongsToTheRowInWhichItBegan) {
  store(data.path(), {{"recordingList", listOf({"First", "Second"})}});
  Program program(desktop, {}, data.path());
  program.press("Toggle Sidebar");
  const Element first = program.named(Role::listItem, "First");
  ASSERT_TRUE(desktop.waitForRest()) << "the sidebar slides";
  const auto row = first.place();
  program.process().clearLines();
  user.moveTo(row.x + 100, row.y + row.height - 5);
  user.press(1);
  user.moveTo(row.x + 40, row.y + row.height + 30);
  // Qt would compress the next moves with this one before the drag starts.
  ASSERT_TRUE(program.process().waitForLine(0, generousLimit));
  ASSERT_TRUE(comesToPanel());
  user.release(1);
  ASSERT_TRUE(program.process().waitForLine(3, generousLimit));
  ASSERT_TRUE(desktop.waitForFreePointer());
  program.press("Toggle Sidebar");
  ASSERT_TRUE(program.writes("Toggle Sidebar"));
  const auto lines = program.process().lines();
  EXPECT_THAT(lines, ElementsAre(lines[0], lines[0], lines[0], lines[3], "Toggle Sidebar"));
  EXPECT_NE(lines[3], lines[0]);
}

TEST_F(DropTests, ADragThatLeavesOrIsLostLeavesNothingBehind) {
  Program program(desktop);
  {
    const XDragSource source(desktop.server().display(), "a text");
    ASSERT_TRUE(dragToPanel());
    user.moveTo(900, 600);
    EXPECT_TRUE(eventually([&] { return !showsDropArea(); }));
    user.release(1);
    ASSERT_TRUE(dragToPanel());
  }
  EXPECT_TRUE(eventually([&] { return !showsDropArea(); })) << "the other program is gone";
  user.release(1);
  XDragSource source(desktop.server().display(), "a text");
  EXPECT_TRUE(drop(source)) << "the next one is taken";
}

}  // namespace
}  // namespace tapeloop::support
