#include <algorithm>
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

/// The window as somebody has it who sees or points at nothing.
class AccessibilityTests : public testing::Test {
 protected:
  // Everything that Tab can stop at or a press can act on, in reading order, with what is off in
  // brackets.
  static std::vector<std::string> controls(const Element& window) {
    std::vector<std::string> names;
    (void)window.find([&](const Element& element) {
      const std::string role = element.role();
      if ((role == "push button" || role == "text") && element.is(State::showing)) {
        const std::string name = element.name();
        const bool isOn = element.description() != "Unavailable";
        names.push_back(isOn ? name : "(" + name + ")");
      }
      return false;
    });
    return names;
  }
  static std::string focused(const Element& window) {
    const auto focus = window.find([](const Element& element) {
      const std::string role = element.role();
      return (role == "push button" || role == "text") && element.is(State::focused);
    });
    return focus ? focus->name() : "";
  }
  static bool shows(const std::string& element) {
    return eventually([&] {
      const auto& shown = AccessibilityBus::instance().shown();
      return std::ranges::find(shown, element) != shown.end();
    });
  }
  // The name that the focus goes to from `name` with this key.
  std::string next(const Element& window, const std::string& name, const char* key) {
    desktop.user().tapKey(key);
    EXPECT_TRUE(eventually([&] {
      const std::string now = focused(window);
      return !now.empty() && now != name;
    })) << "the focus stays at "
        << name;
    return focused(window);
  }
  void recordAClick(Program& program) {
    ASSERT_TRUE(program.recordButton().press());
    ASSERT_TRUE(program.writes("Recording: true"));
    desktop.user().moveTo(1100, 700);
    desktop.user().click(1);
    (void)program.named("push button", "Stop Recording");
  }

  TestDesktop desktop;
};

TEST_F(AccessibilityTests, EverythingIsDoneByTheNamesOfTheControlsAlone) {
  (void)AccessibilityBus::instance().shown();
  Program program(desktop);
  const Element window = program.named("frame", "Tapeloop");
  EXPECT_THAT(controls(window),
              ElementsAre("Information", "Record", "Play", "Settings", "Save Recording",
                          "Toggle Sidebar", "Menu", "Minimise", "Close"));
  EXPECT_TRUE(program.named("heading", "Tapeloop").is(State::showing));

  ASSERT_NO_FATAL_FAILURE(recordAClick(program));
  EXPECT_THAT(controls(window),
              ElementsAre("(Information)", "Stop Recording", "(Play)", "(Settings)",
                          "(Save Recording)", "(Toggle Sidebar)", "Menu", "Minimise", "Close"));
  (void)program.named("push button", "Play").press();
  ASSERT_TRUE(program.recordButton().press());
  ASSERT_TRUE(program.writes("Recording: false"));

  ASSERT_TRUE(program.named("push button", "Save Recording").press());
  EXPECT_TRUE(shows("alert: Recording Saved"));
  (void)program.named("heading", "Saved Recordings");
  const Element row = program.named("list item", "New Recording");
  EXPECT_THAT(controls(row), ElementsAre("Load Recording", "Recording Name", "Delete Recording"))
      << "the delete button, too, while no pointer is over the row";
  EXPECT_EQ(program.named("text", "Recording Name").text(), "New Recording");
  ASSERT_TRUE(program.named("push button", "Load Recording").press());
  EXPECT_TRUE(shows("alert: Recording Loaded"));
  ASSERT_TRUE(program.named("push button", "Delete Recording").press());
  EXPECT_TRUE(program.loses("list item", "New Recording"));

  ASSERT_TRUE(program.named("push button", "Menu").press());
  (void)program.named("menu item", "Quit Tapeloop");
  ASSERT_TRUE(program.named("menu item", "About Tapeloop").press());
  (void)program.named("label", "Free software under the MIT licence");
  EXPECT_THAT(program.process().lines(), Not(Contains("Play button pressed")))
      << "while it was off";
  ASSERT_TRUE(program.named("push button", "Close").press());
}

TEST_F(AccessibilityTests, AnAlertIsReadWithItsMessageAndDismissed) {
  Program program(desktop);
  ASSERT_TRUE(program.named("push button", "Play").press());
  const Element alert = program.named("alert", "Tapeloop");
  EXPECT_EQ(alert.description(), "No input has been recorded yet.");
  (void)program.named("label", "No input has been recorded yet.");
  EXPECT_THAT(controls(alert), ElementsAre("Dismiss"));
  ASSERT_TRUE(program.named("push button", "Dismiss").press());
  EXPECT_TRUE(program.writes("Dismiss button pressed."));
  EXPECT_TRUE(program.loses("alert", "Tapeloop"));

  ASSERT_TRUE(program.named("push button", "Information").press());
  EXPECT_THAT(controls(program.named("alert", "Tapeloop")),
              ElementsAre("Dismiss", "Privacy Policy"));
}

TEST_F(AccessibilityTests, TheTabKeyReachesEveryControlOnceAndInOrder) {
  Program program(desktop);
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
  ASSERT_NO_FATAL_FAILURE(recordAClick(program));
  program.click("Stop Recording");
  ASSERT_TRUE(program.writes("Recording: false"));
  ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
  program.click("Save Recording");
  (void)program.named("list item", "New Recording");
  desktop.user().tapKey("Return");

  const Element window = program.named("frame", "Tapeloop");
  ASSERT_TRUE(eventually([&] { return focused(window) == "Save Recording"; }));
  std::vector<std::string> stops{focused(window)};
  while (stops.size() < 20) {
    const auto stop = next(window, stops.back(), "Tab");
    if (stop == stops.front()) break;
    stops.push_back(stop);
  }
  std::ranges::rotate(stops, std::ranges::find(stops, "Information"));
  EXPECT_THAT(stops, ElementsAre("Information", "Record", "Play", "Settings", "Save Recording",
                                 "Toggle Sidebar", "Load Recording", "Recording Name",
                                 "Delete Recording", "Menu", "Minimise", "Close"));
  const auto& lines = program.process().lines();
  EXPECT_EQ(std::ranges::count(lines, "Save recording"), 1)
      << "Return does not act on the button that was clicked";
  const std::size_t before = lines.size();
  desktop.user().tapKey("Return");
  EXPECT_EQ(program.process().waitForLine(before, generousLimit), "Save recording")
      << "but on the one that Tab has come to";
}

TEST(AuthorizationTests, WhatToDoIsReadAndTheWindowHasOnlyItsCloseButton) {
  TestDesktop desktop({.arguments = {"-extension", "RECORD"}});
  Program program(desktop);
  (void)program.named("heading", "Authorize Tapeloop");
  for (const char* step : {"Go to System Preferences", "Security & Privacy", "Privacy",
                           "Accessibility", "Check Tapeloop"}) {
    (void)program.named("label", step);
  }
  const std::string reason =
      "The X server does not offer RECORD, XTEST: enable this in its configuration, or log in to a "
      "session of a full X.Org server.";
  (void)program.named("label", reason);
  EXPECT_THAT(program.complaints(), ElementsAre(reason));
  ASSERT_TRUE(program.recordButton().press());
  EXPECT_EQ(program.named("alert", "Tapeloop").description(),
            "Please authorize Tapeloop by going to System Preferences -> Security & Privacy -> "
            "Privacy -> Accessibility -> Check Tapeloop.");
}

}  // namespace
}  // namespace tapeloop::support
