#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/x_state.h"
#include "support/x_window.h"
#include "window/program.h"

namespace tapeloop::support {
namespace {

class ProgramTests : public testing::Test {
 protected:
  /// Whether the trace has an event that begins so.
  static bool hasCaptured(Program& program, const std::string& event) {
    return std::ranges::any_of(program.process().lines(), [&](const std::string& line) {
      return line.starts_with("Optional(" + event);
    });
  }

  TestDesktop desktop;
};

TEST_F(ProgramTests, ClosingTheWindowEndsItWithZeroWhateverTheArguments) {
  Program program(desktop, {"--platform", "offscreen", "-style", "none", "-display", ":9999",
                            "-geometry", "500x500+0+0", "-title", "Another", "-reverse",
                            "-qmljsdebugger=port:1,block", "--version", "--help", "-", "", "file"});
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  EXPECT_EQ(desktop.windows("Tapeloop").front().width, 280);
  EXPECT_LT(program.named("push button", "Record").place().x,
            program.named("push button", "Play").place().x)
      << "the layout is not mirrored";
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

TEST_F(ProgramTests, AnInterruptEndsItWhileAnAlertIsOpen) {
  Program program(desktop);
  ASSERT_TRUE(program.named("push button", "Play").press());
  (void)program.named("alert", "Tapeloop");
  program.process().kill(SIGINT);
  EXPECT_EQ(program.exitCode(), 128 + SIGINT);
}

TEST_F(ProgramTests, StandardErrorStaysEmptyInASessionWithoutTrouble) {
  const TemporaryFolder folder;
  const auto file = folder.path() / "errors";
  {
    // The rules bring to light what Qt has to say, such as about a mistake in QML.
    Program program(desktop, {}, folder.path(),
                    {"env", "QT_LOGGING_RULES=*.debug=false", "sh", "-c",
                     "exec \"$@\" 2>'" + file.string() + "'", "sh"});
    ASSERT_TRUE(program.recordButton().press());
    ASSERT_TRUE(program.writes("Recording: true"));
    desktop.user().moveTo(1100, 700);
    desktop.user().click(1);
    ASSERT_TRUE(program.recordButton().press());
    ASSERT_TRUE(program.writes("Recording: false"));
    ASSERT_TRUE(program.named("push button", "Play").press());
    ASSERT_TRUE(program.writes("stopped playing"));
    ASSERT_TRUE(program.named("push button", "Save Recording").press());
    (void)program.named("list item", "New Recording");
    ASSERT_TRUE(program.named("push button", "Delete Recording").press());
    ASSERT_TRUE(program.loses("list item", "New Recording"));
    ASSERT_TRUE(program.openSettings());
    ASSERT_TRUE(program.named("push button", "Close").press());
    EXPECT_EQ(program.exitCode(), 0);
  }
  std::ifstream errors(file);
  ASSERT_TRUE(errors.is_open());
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(errors), {}), "");
}

TEST_F(ProgramTests, WithoutADisplayItEndsWithOneSentence) {
  const TemporaryFolder folder;
  const auto cookies = (folder.path() / "cookies").string();
  ChildProcess cookie({"xauth", "-q", "-f", cookies, "add", ":0", ".", std::string(32, 'a')});
  ASSERT_EQ(cookie.wait(generousLimit), 0);
  ChildProcess guarded({"Xvfb", "-displayfd", "1", "-nolisten", "tcp", "-auth", cookies});
  const auto number = guarded.waitForLine(0, generousLimit);
  ASSERT_TRUE(number);
  const auto sentence = [](const std::string& display) {
    ChildProcess program({"sh", "-c", std::string("exec ") + TAPELOOP_PROGRAM + " 2>&1"},
                         {"DISPLAY=" + display, "XAUTHORITY=/dev/null"});
    EXPECT_EQ(program.wait(generousLimit), 2);
    EXPECT_EQ(program.lines().size(), 1U);
    return program.lines().empty() ? "" : program.lines().front();
  };
  EXPECT_EQ(sentence(""), "tapeloop: Tapeloop needs an X display, and DISPLAY names none.");
  EXPECT_EQ(sentence(":9999"), "tapeloop: Tapeloop can't open the X display \":9999\".");
  EXPECT_EQ(sentence(":" + *number),
            "tapeloop: Tapeloop can't open the X display \":" + *number +
                "\": Authorization required, but no authorization protocol specified.");
}

TEST_F(ProgramTests, AKilledServerEndsItWithOneSentenceAndTheRecordingsAreKept) {
  const TemporaryFolder data;
  const auto record = [](TestDesktop& on, Program& program) {
    ASSERT_TRUE(program.recordButton().press());
    ASSERT_TRUE(program.writes("Recording: true"));
    std::vector<XAction> walk;
    for (int i = 0; i < 100; ++i) {
      walk.push_back({XEventKind::motion, 0, static_cast<std::int16_t>(1000 + i), 700});
    }
    pace(walk, std::chrono::milliseconds(10));
    on.user().run(walk);
    ASSERT_TRUE(eventually([&] { return hasCaptured(program, "mouseMoved at (1099"); }));
  };
  const auto expectEnd = [](TestDesktop& on, Program& program) {
    on.server().kill(SIGKILL);
    EXPECT_EQ(program.exitCode(), 1);
    EXPECT_THAT(program.complaints(),
                testing::ElementsAre("The connection to the X server is lost."));
    EXPECT_THAT(program.process().lines(),
                testing::Not(testing::Contains(testing::HasSubstr("X11"))))
        << "neither does Qt say it";
  };
  {
    TestDesktop other;
    Program program(other, {}, data.path());
    record(other, program);
    ASSERT_TRUE(program.recordButton().press());
    ASSERT_TRUE(program.writes("Recording: false"));
    ASSERT_TRUE(program.named("push button", "Save Recording").press());
    (void)program.named("list item", "New Recording");
    program.process().clearLines();
    record(other, program);
    expectEnd(other, program);
  }
  Program program(desktop, {}, data.path());
  ASSERT_TRUE(program.named("push button", "Toggle Sidebar").press());
  (void)program.named("list item", "New Recording");
  ASSERT_TRUE(program.named("push button", "Load Recording").press());
  ASSERT_TRUE(program.named("push button", "Play").press());
  ASSERT_TRUE(program.writes("play button pressed"));
  expectEnd(desktop, program);
  EXPECT_FALSE(std::ranges::count(program.process().lines(), "stopped playing"))
      << "it was to come in the middle";
}

TEST_F(ProgramTests, ScreensThatChangeDuringCaptureAndPlaybackAreFollowed) {
  Program program(desktop);
  ASSERT_TRUE(program.recordButton().press());
  ASSERT_TRUE(program.writes("Recording: true"));
  const auto& user = desktop.user();
  const auto moveUntil = [&](int x, int y, const std::string& place) {
    return eventually([&] {
      user.moveTo(x, y);
      user.moveTo(x + 1, y);
      return hasCaptured(program, "mouseMoved at (" + place + ")");
    });
  };
  EXPECT_TRUE(moveUntil(900, 700, "900, 100"));
  desktop.server().setMonitors({{0, 0, 640, 800, false}, {640, 0, 640, 800, true}});
  EXPECT_TRUE(moveUntil(900, 650, "260, 150"));
  desktop.server().resize(1000, 760);
  EXPECT_TRUE(moveUntil(900, 600, "900, 160"));
  ASSERT_TRUE(program.recordButton().press());
  ASSERT_TRUE(program.writes("Recording: false"));

  ASSERT_TRUE(program.named("push button", "Play").press());
  ASSERT_TRUE(program.writes("play button pressed"));
  desktop.server().resize(1280, 800);
  ASSERT_TRUE(program.writes("stopped playing"));
  ASSERT_TRUE(program.named("push button", "Close").press());
  EXPECT_EQ(program.exitCode(), 0);
}

}  // namespace
}  // namespace tapeloop::support
