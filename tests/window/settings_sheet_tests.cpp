#include <algorithm>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "window/program.h"

namespace tapeloop::support {
namespace {

using testing::IsSupersetOf;

class SettingsSheetTests : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
    ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
    ASSERT_TRUE(program.openSettings());
    ASSERT_TRUE(program.writes("Settings Button Pressed."));
    ASSERT_TRUE(focusComesTo("Repeat Playback"));
  }
  bool focusComesTo(const std::string& name) {
    const Element window = program.named("frame", "Tapeloop");
    return eventually([&] {
      const auto focus = window.find([](const Element& element) {
        return element.role() != "frame" && element.is(State::focused);
      });
      return focus && focus->name() == name;
    });
  }
  bool tabReaches(const std::string& name) {
    user.tapKey("Tab");
    return focusComesTo(name);
  }
  // Qt tells the accessibility bus of no item that it is disabled.
  static bool isOn(const Element& element) { return element.description() != "Unavailable"; }
  bool becomesOn(const std::string& role, const std::string& name) {
    return eventually([&] { return isOn(program.named(role, name)); });
  }
  bool reads(const std::string& field, const std::string& text) {
    return eventually([&] { return program.named("text", field).text() == text; });
  }
  // What the field says it waits for.
  bool waitsFor(const std::string& field, const std::string& what) {
    return eventually([&] { return program.named("text", field).description() == what; });
  }

  TestDesktop desktop;
  Program program{desktop};
  const XPoster& user = desktop.user();
};

TEST_F(SettingsSheetTests, WhatDependsOnASwitchComesToLifeWithIt) {
  EXPECT_FALSE(isOn(program.recordButton())) << "it lies below";
  EXPECT_FALSE(isOn(program.named("slider", "Repeat 5 Times")));
  EXPECT_FALSE(isOn(program.named("check box", "Wait Before Repeating")));
  EXPECT_TRUE(isOn(program.named("slider", "Playback Speed")));

  ASSERT_TRUE(program.named("check box", "Repeat Playback").press());
  EXPECT_TRUE(becomesOn("slider", "Repeat 5 Times"));
  EXPECT_FALSE(isOn(program.named("combo box", "Wait Time")));
  EXPECT_FALSE(isOn(program.named("combo box", "Wait Time Unit")));
  program.click(program.named("check box", "Wait Before Repeating"));
  EXPECT_TRUE(becomesOn("combo box", "Wait Time"));
  EXPECT_TRUE(becomesOn("combo box", "Wait Time Unit"));
}

TEST_F(SettingsSheetTests, EverythingIsSetWithTheKeyboardAlone) {
  user.tapKey("space");
  ASSERT_TRUE(tabReaches("Repeat 5 Times"));
  user.tapKey("Home");
  user.tapKey("Right");
  user.tapKey("Up");
  ASSERT_TRUE(program.writes("2.0"));
  EXPECT_TRUE(focusComesTo("Repeat 2 Times"));
  ASSERT_TRUE(tabReaches("Wait Before Repeating"));
  user.tapKey("space");
  ASSERT_TRUE(becomesOn("combo box", "Wait Time"));
  ASSERT_TRUE(tabReaches("Wait Time"));
  ASSERT_TRUE(tabReaches("Wait Time Unit"));
  ASSERT_TRUE(tabReaches("Playback Speed"));
  user.tapKey("Right");
  (void)program.named("label", "Playback Speed: 2x");
  ASSERT_TRUE(tabReaches("Record Shortcut"));
  ASSERT_TRUE(tabReaches("Play Shortcut"));
  ASSERT_TRUE(tabReaches("Save"));
  user.tapKey("Return");
  EXPECT_TRUE(program.writes("Saving Settings..."));
  EXPECT_TRUE(program.loses("dialog", "Settings"));
  EXPECT_TRUE(focusComesTo("Settings")) << "to the button that opened the sheet";
  const auto& lines = program.process().lines();
  EXPECT_EQ(std::ranges::count(lines, "Saving Settings..."), 1);
  EXPECT_THAT(lines, IsSupersetOf({"0.0", "1.0", "2.0"}));
}

TEST_F(SettingsSheetTests, AFieldTakesWhatIsTypedAndIsClearedByItsButton) {
  program.click(program.named("text", "Play Shortcut"));
  ASSERT_TRUE(waitsFor("Play Shortcut", "Press Shortcut"));
  user.tapKey("F5");
  ASSERT_TRUE(reads("Play Shortcut", "F5"));
  EXPECT_TRUE(waitsFor("Play Shortcut", "Set Shortcut"));
  program.click(program.named("check box", "Repeat Playback"));
  EXPECT_TRUE(eventually([&] {
    return program.named("check box", "Repeat Playback").is(State::checked);
  })) << "the first click after the one that the field kept";
  program.click("Clear Play Shortcut");
  ASSERT_TRUE(reads("Play Shortcut", ""));
  EXPECT_TRUE(waitsFor("Play Shortcut", "Press Shortcut"));
  user.tapKey("Escape");
  EXPECT_TRUE(waitsFor("Play Shortcut", "Set Shortcut"));
  user.tapKey("Return");
  EXPECT_TRUE(program.writes("Saving Settings..."));
}

TEST_F(SettingsSheetTests, ACombinationThatIsTakenIsRefusedAndTheFieldGoesOn) {
  program.click(program.named("text", "Record Shortcut"));
  ASSERT_TRUE(waitsFor("Record Shortcut", "Press Shortcut"));
  user.pressKey("Control_L");
  user.tapKey("q");
  user.releaseKey("Control_L");
  const std::string message =
      "This keyboard shortcut cannot be used because it already belongs to the menu item “Quit "
      "Tapeloop”.";
  (void)program.named("alert", message);
  ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 1));
  user.tapKey("Return");
  ASSERT_TRUE(program.loses("alert", message));
  EXPECT_TRUE(waitsFor("Record Shortcut", "Press Shortcut"));
  EXPECT_TRUE(reads("Record Shortcut", ""));
}

}  // namespace
}  // namespace tapeloop::support
