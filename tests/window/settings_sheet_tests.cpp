#include <cstdint>
#include <string>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include "support/x_connection.h"
#include "support/x_state.h"
#include "window/program.h"

namespace tapeloop::support {
namespace {

using testing::Contains;
using testing::IsSupersetOf;

bool grabsKeyboard(const XConnection& client, bool throughExtension) {
  if (!throughExtension) {
    const auto reply = client.reply(xcb_grab_keyboard_reply,
                                    xcb_grab_keyboard(client, 0, client.root(), XCB_CURRENT_TIME,
                                                      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
  }
  xcb_discard_reply(client, xcb_input_xi_query_version(client, 2, 2).sequence);
  constexpr std::uint32_t events = XCB_INPUT_XI_EVENT_MASK_KEY_PRESS;
  const auto reply = client.reply(
      xcb_input_xi_grab_device_reply,
      xcb_input_xi_grab_device(client, client.root(), XCB_CURRENT_TIME, XCB_CURSOR_NONE,
                               inputDevice(client, coreKeyboard), XCB_INPUT_GRAB_MODE_22_ASYNC,
                               XCB_INPUT_GRAB_MODE_22_ASYNC, 0, 1, &events));
  return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

// The stored unit stays picked as the captions change with the number.
TEST(WaitPickerTests, KeepTheUnitWhileItsCaptionChanges) {
  TestDesktop desktop;
  const XUser& user = desktop.user();
  const std::tuple<const char*, std::int64_t, const char*, const char*> cases[] = {
      {"minutes", 1, "Minute", "Minutes"}, {"hours", 7, "Hours", "Hour"}};
  for (const auto& [unit, number, before, after] : cases) {
    SCOPED_TRACE(unit);
    const TemporaryFolder data;
    store(data.path(), {{"repeatPlayback", true},
                        {"waitBeforeRepeating", true},
                        {"waittimenumber", number},
                        {"waittimeunit", unit}});
    Program program(desktop, {}, data.path());
    ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
    const auto speaks = [&](const char* picker, const std::string& choice) {
      return eventually(
          [&] { return program.named(Role::comboBox, picker).description() == choice; });
    };
    program.openSettings();
    EXPECT_TRUE(speaks("Wait Time Unit", before));
    EXPECT_TRUE(speaks("Wait Time", std::to_string(number)));
    const auto picker = program.named(Role::comboBox, "Wait Time");
    ASSERT_TRUE(eventually([&] {
      if (!picker.is(State::focused)) user.tapKey("Tab");
      return picker.is(State::focused);
    }));
    user.tapKey(number == 1 ? "Down" : "Home");
    EXPECT_TRUE(speaks("Wait Time", number == 1 ? "2" : "1"));
    EXPECT_TRUE(speaks("Wait Time Unit", after));
    EXPECT_EQ(program.close(), 0);
  }
}

class SettingsSheetTests : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
    ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
    program.openSettings();
    ASSERT_TRUE(program.writes("Settings Button Pressed."));
    ASSERT_TRUE(program.focuses("Repeat Playback"));
  }
  bool tabReaches(const std::string& name) {
    user.tapKey("Tab");
    return program.focuses(name);
  }
  bool isOn(Role role, const std::string& name) { return Program::isOn(program.named(role, name)); }
  bool reads(const std::string& field, const std::string& text) {
    return eventually([&] { return program.named(Role::text, field).text() == text; });
  }

  TestDesktop desktop;
  Program program{desktop};
  const XUser& user = desktop.user();
};

TEST_F(SettingsSheetTests, EverythingIsSetWithTheKeyboard) {
  EXPECT_FALSE(Program::isOn(program.recordButton())) << "it lies below";
  EXPECT_FALSE(isOn(Role::slider, "Repeat 5 Times"));
  EXPECT_FALSE(isOn(Role::checkBox, "Wait Before Repeating"));
  EXPECT_TRUE(isOn(Role::slider, "Playback Speed"));
  user.tapKey("space");
  EXPECT_TRUE(eventually([&] { return isOn(Role::slider, "Repeat 5 Times"); }));
  ASSERT_TRUE(tabReaches("Repeat 5 Times"));
  user.tapKey("Home");
  user.tapKey("Right");
  user.tapKey("Up");
  ASSERT_TRUE(program.writes("2.0"));
  EXPECT_THAT(program.process().lines(), IsSupersetOf({"0.0", "1.0", "2.0"}));
  EXPECT_TRUE(program.focuses("Repeat 2 Times"));

  EXPECT_FALSE(isOn(Role::comboBox, "Wait Time"));
  EXPECT_FALSE(isOn(Role::comboBox, "Wait Time Unit"));
  ASSERT_TRUE(tabReaches("Wait Before Repeating"));
  user.tapKey("space");
  EXPECT_TRUE(eventually(
      [&] { return isOn(Role::comboBox, "Wait Time") && isOn(Role::comboBox, "Wait Time Unit"); }));
  ASSERT_TRUE(tabReaches("Wait Time"));
  ASSERT_TRUE(tabReaches("Wait Time Unit"));
  ASSERT_TRUE(tabReaches("Playback Speed"));
  user.tapKey("Right");
  (void)program.named(Role::label, "Playback Speed: 2x");
  ASSERT_TRUE(tabReaches("Record Shortcut"));
  ASSERT_TRUE(tabReaches("Play Shortcut"));
  ASSERT_TRUE(tabReaches("Save"));
  user.tapKey("Return");
  EXPECT_TRUE(program.loses(Role::dialog, "Settings"));
  EXPECT_TRUE(program.focuses("Settings")) << "the button that opened the sheet";
  EXPECT_THAT(program.process().lines(), Contains("Saving Settings...").Times(1));
}

TEST_F(SettingsSheetTests, AFieldRefusesTakesAndClears) {
  const auto field = program.named(Role::text, "Play Shortcut");
  const auto edge = [&] {
    const auto place = field.place();
    return desktop.pixel(place.x, place.y + place.height / 2);
  };
  const auto edgeAtRest = edge();
  program.click(field);
  ASSERT_TRUE(program.says("Play Shortcut", "Press Shortcut"));
  const std::string refusal = "This keyboard shortcut cannot be used because ";
  for (const auto& [modifier, key, reason] :
       {std::tuple("Control_L", "q", "it already belongs to the menu item “Quit Tapeloop”."),
        {"Alt_L", "Escape", "the desktop or another program already uses it."}}) {
    user.strike({modifier, key});
    (void)program.named(Role::alert, refusal + reason);
    ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 1));
    user.tapKey("Return");
    ASSERT_TRUE(program.loses(Role::alert, refusal + reason));
    ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
  }
  EXPECT_TRUE(program.says("Play Shortcut", "Press Shortcut"));
  EXPECT_TRUE(reads("Play Shortcut", ""));
  EXPECT_EQ(edge(), edgeAtRest) << "no field has a focus ring";
  user.tapKey("F5");
  ASSERT_TRUE(reads("Play Shortcut", "F5"));
  EXPECT_TRUE(program.says("Play Shortcut", "Set Shortcut"));
  program.click(program.named(Role::checkBox, "Repeat Playback"));
  EXPECT_TRUE(eventually([&] {
    return program.named(Role::checkBox, "Repeat Playback").is(State::checked);
  })) << "the first click after the one that the field kept";
  program.click("Clear Play Shortcut");
  ASSERT_TRUE(reads("Play Shortcut", ""));
  EXPECT_TRUE(program.says("Play Shortcut", "Press Shortcut"));
  user.tapKey("Escape");
  EXPECT_TRUE(program.says("Play Shortcut", "Set Shortcut"));
  user.tapKey("Return");
  EXPECT_TRUE(program.writes("Saving Settings..."));
}

TEST_F(SettingsSheetTests, ARecordingFieldGivesUpTheKeyboard) {
  for (const bool throughExtension : {false, true}) {
    program.click(program.named(Role::text, "Record Shortcut"));
    ASSERT_TRUE(program.says("Record Shortcut", "Press Shortcut"));
    const XConnection locker(desktop.server().display());
    // It tries again and again, as programs that lock the screen do.
    EXPECT_TRUE(eventually([&] { return grabsKeyboard(locker, throughExtension); }));
    EXPECT_TRUE(program.says("Record Shortcut", "Set Shortcut"));
  }
}

}  // namespace
}  // namespace tapeloop::support
