#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "window/program.h"

namespace tapeloop::support {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

/// The program used with a screen reader, or with the keyboard alone.
class AccessibilityTests : public testing::Test {
 protected:
  // The buttons and fields, in reading order; those that are disabled in brackets.
  static std::vector<std::string> controls(const Element& window) {
    std::vector<std::string> names;
    (void)window.find([&](const Element& element) {
      const Role role = element.role();
      if ((role == Role::button || role == Role::text) && element.is(State::showing)) {
        const std::string name = element.name();
        names.push_back(Program::isOn(element) ? name : "(" + name + ")");
      }
      return false;
    });
    return names;
  }

  TestDesktop desktop;
  TemporaryFolder data;
};

TEST_F(AccessibilityTests, EverythingIsReachedByNameAndQtReportsNoError) {
  const auto errors = data.path() / "errors";
  // With this variable the program writes Qt's messages, such as those about mistakes in QML.
  Program program(desktop, {}, data.path(),
                  {"env", "QT_LOGGING_RULES=*.debug=false", "sh", "-c",
                   "exec \"$@\" 2>'" + errors.string() + "'", "sh"});
  const Element window = program.named(Role::frame, "Tapeloop");
  EXPECT_THAT(controls(window),
              ElementsAre("Information", "Record", "Play", "Settings", "Save Recording",
                          "Toggle Sidebar", "Menu", "Minimise", "Close"));
  EXPECT_TRUE(program.named(Role::heading, "Tapeloop").is(State::showing));
  program.press("Play");
  const Element alert = program.named(Role::alert, "Tapeloop");
  EXPECT_THAT(controls(alert), ElementsAre("Dismiss"));
  (void)program.named(Role::label, "No input has been recorded yet.");
  EXPECT_EQ(program.dismissAlert(), "No input has been recorded yet.");
  program.press("Information");
  EXPECT_THAT(controls(program.named(Role::alert, "Tapeloop")),
              ElementsAre("Dismiss", "Privacy Policy"));
  (void)program.dismissAlert();

  program.process().clearLines();
  program.startCapture();
  desktop.user().moveTo(1100, 700);
  desktop.user().click(1);
  (void)program.named(Role::button, "Stop Recording");
  EXPECT_THAT(controls(window),
              ElementsAre("(Information)", "Stop Recording", "(Play)", "(Settings)",
                          "(Save Recording)", "(Toggle Sidebar)", "Menu", "Minimise", "Close"));
  (void)program.named(Role::button, "Play").press();
  program.stopCapture();
  EXPECT_THAT(program.process().lines(), Not(Contains("play button pressed")))
      << "while it was off";
  program.press("Play");
  ASSERT_TRUE(program.writes("stopped playing"));

  program.press("Save Recording");
  (void)program.named(Role::alert, "Recording Saved");
  (void)program.named(Role::heading, "Saved Recordings");
  EXPECT_THAT(controls(program.named(Role::listItem, "New Recording")),
              ElementsAre("Load Recording", "Recording Name", "Delete Recording"))
      << "the delete button, too, while no pointer is over the row";
  EXPECT_EQ(program.named(Role::text, "Recording Name").text(), "New Recording");
  program.press("Load Recording");
  (void)program.named(Role::alert, "Recording Loaded");
  program.press("Delete Recording");
  EXPECT_TRUE(program.loses(Role::listItem, "New Recording"));
  program.openSettings();
  ASSERT_TRUE(program.named(Role::checkBox, "Repeat Playback").press());
  EXPECT_TRUE(
      eventually([&] { return Program::isOn(program.named(Role::slider, "Repeat 5 Times")); }));
  program.press("Save");
  ASSERT_TRUE(program.loses(Role::dialog, "Settings"));

  program.press("Menu");
  (void)program.named(Role::menuItem, "Quit Tapeloop");
  ASSERT_TRUE(program.named(Role::menuItem, "About Tapeloop").press());
  (void)program.named(Role::label, "Free software under the MIT licence");
  ASSERT_TRUE(desktop.waitForFocus("About Tapeloop", 0));
  desktop.user().strike({"Control_L", "q"});
  EXPECT_EQ(program.exitCode(), 0) << "whichever of its windows has the focus";
  std::ifstream file(errors);
  ASSERT_TRUE(file.is_open());
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "");
}

TEST_F(AccessibilityTests, EscapeClosesEachWindowAfterAnother) {
  Program program(desktop);
  for (const char* opener : {"Play", "Information", "Menu", "Information", "Play"}) {
    ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
    program.press(opener);
    if (opener == std::string("Menu")) {
      ASSERT_TRUE(program.named(Role::menuItem, "About Tapeloop").press());
      ASSERT_TRUE(desktop.waitForFocus("About Tapeloop", 0));
    } else {
      ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 1));
    }
    desktop.user().tapKey("Escape");
  }
  EXPECT_TRUE(desktop.waitForFocus("Tapeloop", 0)) << "the last one, too";
}

TEST_F(AccessibilityTests, TheTabKeyReachesEveryControlOnceAndInOrder) {
  Program program(desktop);
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
  ASSERT_TRUE(program.focuses("Record"));
  const auto tapUnseen = [&] {
    for (const char* key : {"Return", "KP_Enter", "space"}) desktop.user().tapKey(key);
  };
  tapUnseen();
  program.click("Save Recording");
  ASSERT_EQ(program.dismissAlert(), "No input has been recorded yet.");
  ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
  program.recordClick();
  program.click("Save Recording");
  (void)program.named(Role::listItem, "New Recording");
  tapUnseen();
  for (const char* stop :
       {"Toggle Sidebar", "Load Recording", "Recording Name", "Delete Recording", "Menu",
        "Minimise", "Close", "Information", "Record", "Play", "Settings", "Save Recording"}) {
    desktop.user().tapKey("Tab");
    ASSERT_TRUE(program.focuses(stop)) << stop;
  }
  EXPECT_THAT(program.process().lines(), Contains("Recording: true").Times(1));
  EXPECT_THAT(program.process().lines(), Contains("Save recording").Times(2))
      << "no key acts on the button that was clicked";
  for (const char* key : {"Return", "space"}) {
    program.process().clearLines();
    desktop.user().tapKey(key);
    EXPECT_TRUE(program.writes("Save recording")) << key << " acts where Tab has come to";
  }
}

}  // namespace
}  // namespace tapeloop::support
