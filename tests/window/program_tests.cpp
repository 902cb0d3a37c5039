#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/x_state.h"
#include "window/program.h"

namespace tapeloop::support {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class ProgramTests : public testing::Test {
 protected:
  TestDesktop desktop;
  TemporaryFolder data;
};

TEST_F(ProgramTests, AnAlertIsDismissedByKeysAndArgumentsAreIgnored) {
  Program program(desktop, {"--platform", "offscreen", "-style", "none", "-display", ":9999",
                            "-geometry", "500x500+0+0", "-title", "Another", "-reverse",
                            "-qmljsdebugger=port:1,block", "--version", "--help", "-", "", "file"});
  EXPECT_EQ(desktop.window().width, 280);
  EXPECT_LT(program.named(Role::button, "Record").place().x,
            program.named(Role::button, "Play").place().x)
      << "the layout is not mirrored";
  for (const char* key : {"Return", "Escape", "space"}) {
    SCOPED_TRACE(key);
    program.process().clearLines();
    program.click("Play");
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 2));
    ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 1));
    desktop.user().tapKey(key);
    EXPECT_TRUE(program.writes("Dismiss button pressed."));
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
    ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
  }
  // Nothing of the alerts keeps the program open.
  desktop.closeNewest("Tapeloop");
  EXPECT_EQ(program.exitCode(), 0);
}

TEST_F(ProgramTests, WithoutADisplayItEndsWithOneSentence) {
  const auto cookies = (data.path() / "cookies").string();
  ChildProcess cookie({"xauth", "-q", "-f", cookies, "add", ":0", ".", std::string(32, 'a')});
  ASSERT_EQ(cookie.wait(generousLimit), 0);
  ChildProcess guarded({"Xvfb", "-displayfd", "1", "-nolisten", "tcp", "-auth", cookies});
  const auto number = guarded.waitForLine(0, generousLimit);
  ASSERT_TRUE(number);
  const std::pair<std::string, std::string> sentences[] = {
      {"", "needs an X display, and DISPLAY names none."},
      {":9999", "can't open the X display \":9999\"."},
      {":" + *number, "can't open the X display \":" + *number +
                          "\": Authorization required, but no authorization protocol specified."}};
  for (const auto& [display, sentence] : sentences) {
    ChildProcess program({"sh", "-c", std::string("exec ") + TAPELOOP_PROGRAM + " 2>&1"},
                         {"DISPLAY=" + display, "XAUTHORITY=/dev/null"});
    EXPECT_EQ(program.wait(generousLimit), 2);
    EXPECT_THAT(program.lines(), ElementsAre("tapeloop: Tapeloop " + sentence));
  }
}

TEST_F(ProgramTests, ASecondStartBringsBackTheMinimisedWindow) {
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
  EXPECT_FALSE(std::filesystem::exists(data.path() / "cache")) << "QML is compiled at build time";
}

TEST_F(ProgramTests, AKilledServerOrASignalEndsItInOrder) {
  const auto recordADrag = [](TestDesktop& on, Program& program) {
    program.process().clearLines();
    program.startCapture();
    on.user().moveTo(1000, 700);
    std::vector<XAction> drag{{XEventKind::buttonPress, 1}};
    for (std::int16_t x = 1000; x < 1100; ++x) drag.push_back({XEventKind::motion, 0, x, 700});
    drag.push_back({XEventKind::buttonRelease, 1});
    pace(drag, std::chrono::milliseconds(10));
    on.user().run(drag);
    ASSERT_TRUE(program.captures("leftMouseUp"));
  };
  const auto expectLoss = [](TestDesktop& on, Program& program) {
    on.server().kill(SIGKILL);
    EXPECT_EQ(program.exitCode(), 1);
    EXPECT_THAT(program.complaints(), ElementsAre("The connection to the X server is lost."));
    EXPECT_THAT(program.process().lines(), Each(Not(HasSubstr("X11")))) << "nor does Qt say it";
  };
  const auto playIntoTheDrag = [this](Program& program) {
    program.press("Toggle Sidebar");
    program.press("Load Recording");
    program.press("Play");
    ASSERT_TRUE(eventually(
        [this] { return !pointerState(desktop.server().display()).buttonsDown.empty(); }));
  };
  {
    TestDesktop other;
    Program program(other, {}, data.path());
    recordADrag(other, program);
    program.stopCapture();
    program.saveRecording();
    recordADrag(other, program);
    expectLoss(other, program);
  }
  {
    Program program(desktop, {}, data.path());
    playIntoTheDrag(program);
    program.process().kill(SIGTERM);
    EXPECT_EQ(program.exitCode(), 128 + SIGTERM);
    EXPECT_THAT(pointerState(desktop.server().display()).buttonsDown, IsEmpty());
  }
  Program program(desktop, {}, data.path());
  playIntoTheDrag(program);
  expectLoss(desktop, program);
  EXPECT_THAT(program.process().lines(), Not(Contains("stopped playing")))
      << "it was to come in the middle";
}

}  // namespace
}  // namespace tapeloop::support
