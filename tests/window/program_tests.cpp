#include <algorithm>
#include <csignal>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "support/x_state.h"
#include "support/x_window.h"
#include "window/program.h"

namespace tapeloop::support {
namespace {

class ProgramTests : public testing::Test {
 protected:
  TestDesktop desktop;
};

TEST_F(ProgramTests, ClosingTheWindowEndsItWithZeroWhateverTheArguments) {
  Program program(desktop, {"--platform", "offscreen", "-style", "none", "--help", "file"});
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  desktop.closeNewest("Tapeloop");
  EXPECT_EQ(program.exitCode(), 0);
}

TEST_F(ProgramTests, TheQuitKeyEndsItWhicheverOfItsWindowsHasTheFocus) {
  Program program(desktop);
  ASSERT_TRUE(program.named("push button", "Menu").press());
  ASSERT_TRUE(program.named("menu item", "About Tapeloop").press());
  ASSERT_TRUE(desktop.waitForFocus("About Tapeloop", 0));
  desktop.user().pressKey("Control_L");
  desktop.user().tapKey("q");
  desktop.user().releaseKey("Control_L");
  EXPECT_EQ(program.exitCode(), 0);
}

TEST_F(ProgramTests, CaptureRunsFromOneRecordPressToTheNext) {
  const XWindow application(desktop.server().display(),
                            {.x = 700, .y = 20, .overrideRedirect = true});
  Program program(desktop);
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  program.click(program.recordButton());
  ASSERT_TRUE(program.writes("Recording: true"));
  desktop.user().moveTo(800, 200);
  desktop.user().click(1);
  ASSERT_TRUE(application.waitUntil(
      [](const auto& events) {
        return std::ranges::any_of(
            events, [](const auto& event) { return event.kind == XEventKind::buttonRelease; });
      },
      generousLimit));
  program.click(program.recordButton());
  ASSERT_TRUE(program.writes("Recording: false"));
  const auto& lines = program.process().lines();
  EXPECT_EQ(
      std::count_if(lines.begin(), lines.end(),
                    [](const std::string& line) { return line.starts_with("Optional(leftMouse"); }),
      2)
      << "the click on the other application, and none of those on the button";
  EXPECT_TRUE(program.process().isRunning());
}

TEST_F(ProgramTests,
       PlayWithNothingRecordedShowsAnAlertThatTheKeyboardDismissesAndThatKeepsNothingOpen) {
  Program program(desktop);
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  for (const char* key : {"Return", "Escape", "space"}) {
    SCOPED_TRACE(key);
    program.click("Play");
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 2));
    ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 1));
    desktop.user().tapKey(key);
    EXPECT_TRUE(program.writes("Dismiss button pressed."));
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
    ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));  // the frame of the alert is gone, too
  }
  desktop.closeNewest("Tapeloop");
  EXPECT_EQ(program.exitCode(), 0);
  EXPECT_EQ(std::ranges::count(program.process().lines(), "Dismiss button pressed."), 3);
}

TEST_F(ProgramTests, ATerminationSignalDuringPlaybackLeavesNothingHeld) {
  const XWindow application(desktop.server().display(),
                            {.x = 700, .y = 20, .overrideRedirect = true});
  Program program(desktop);
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  program.click(program.recordButton());
  ASSERT_TRUE(program.writes("Recording: true"));
  desktop.user().moveTo(800, 200);
  desktop.user().press(1);
  desktop.user().moveTo(820, 220);
  desktop.user().release(1);
  program.click(program.recordButton());
  ASSERT_TRUE(program.writes("Recording: false"));
  program.click("Play");
  ASSERT_TRUE(program.writes("play button pressed"));
  program.process().kill(SIGTERM);
  EXPECT_EQ(program.exitCode(), 143);
  EXPECT_TRUE(pointerState(desktop.server().display()).buttonsDown.empty());
  EXPECT_TRUE(keysDown(desktop.server().display()).empty());
}

TEST_F(ProgramTests, AStoreThatCannotBeOpenedIsToldOnceAndTheProgramRuns) {
  const TemporaryFolder folder;
  const auto file = folder.path() / "file";
  std::ofstream(file) << "not a folder";
  Program program(desktop, {}, file);
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  program.click(program.recordButton());
  ASSERT_TRUE(program.writes("Recording: true"));
  const auto& lines = program.process().lines();
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                          [](const std::string& line) { return line.starts_with("tapeloop: "); }),
            1);
}

TEST_F(ProgramTests, WithoutADisplayItEndsWithOneSentence) {
  ChildProcess program({"sh", "-c", std::string("exec ") + TAPELOOP_PROGRAM + " 2>&1"},
                       {"DISPLAY=:9999"});
  EXPECT_EQ(program.wait(generousLimit), 2);
  EXPECT_EQ(program.lines().size(), 1u);
}

TEST_F(ProgramTests, ALostDisplayEndsItWithOne) {
  Program program(desktop);
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  desktop.server().kill();
  EXPECT_EQ(program.exitCode(), 1);
}

}  // namespace
}  // namespace tapeloop::support
