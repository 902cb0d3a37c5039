#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "hotkeys/recorder_cocoa.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using namespace modifier_flag;
using ::testing::ElementsAre;
using ::testing::FieldsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Optional;

const Shortcut commandR{15, 0x100};

class RecorderTest : public SimulatedTest {
 protected:
  RecorderTest() {
    Menu menu;
    menu.items = {{"Quit Tapeloop", MenuAction::terminate, "q", {}}};
    desktop.mainMenu.setMainMenu(menu);
    recorder->setBounds([] { return Rect{{100, 50}, {130, 26}}; });
    focus_ = recorder->onFocusRequest([this](bool wanted) { focusRequests.push_back(wanted); });
  }
  RecorderServices services() {
    return {shortcuts,          desktop.notifications, desktop.hotKeys, desktop.keyboardLayouts,
            desktop.localInput, desktop.mainMenu,      desktop.sound,   texts,
            desktop.runLoop};
  }
  EventPass type(std::uint16_t code, std::uint64_t flags = 0) {
    return desktop.localInput.send(keyDown(0, code, flags));
  }
  void expectIdle() {
    EXPECT_FALSE(recorder->isRecording.get());
    EXPECT_FALSE(shortcuts.isPaused());
    EXPECT_FALSE(desktop.localInput.isAnyInstalled());
    EXPECT_EQ(recorder->placeholderString.get(), texts.text("record_shortcut"));
  }

  const RecorderTexts texts;
  KeyboardShortcuts shortcuts{desktop.hotKeys, desktop.defaults, desktop.notifications};
  const Name slot{"slot", std::nullopt};
  std::vector<std::optional<Shortcut>> changes;
  std::vector<bool> focusRequests;
  std::unique_ptr<RecorderCocoa> recorder = std::make_unique<RecorderCocoa>(
      services(), slot, [this](const auto& changed) { changes.push_back(changed); });

 private:
  Subscription focus_;
};

TEST_F(RecorderTest, AcceptsACombinationShowsItAndStoresIt) {
  recorder->becomeFirstResponder();
  EXPECT_EQ(recorder->placeholderString.get(), texts.text("press_shortcut"));
  EXPECT_TRUE(shortcuts.isPaused());
  EXPECT_FALSE(recorder->showsCancelButton.get());
  EXPECT_EQ(type(15, command | capsLock), EventPass::swallow);
  EXPECT_EQ(recorder->stringValue.get(), "⌘R");
  EXPECT_TRUE(recorder->showsCancelButton.get());
  EXPECT_EQ(shortcuts.shortcut(slot), commandR);
  EXPECT_THAT(changes, ElementsAre(commandR));
  EXPECT_THAT(focusRequests, ElementsAre(false));
  expectIdle();
}

TEST_F(RecorderTest, EndsWhenTheKeyboardIsWantedOrNotUsed) {
  recorder->becomeFirstResponder();
  desktop.localInput.keyboardWanted();
  expectIdle();
  recorder->becomeFirstResponder();
  advance(RecorderCocoa::timeout - 1);
  type(0);
  advance(RecorderCocoa::timeout - 1);
  EXPECT_TRUE(recorder->isRecording.get()) << "each key begins the wait anew";
  advance(1);
  expectIdle();
  EXPECT_THAT(focusRequests, ElementsAre(false, false));
}

TEST_F(RecorderTest, BareOrImpossibleCombinationsBeep) {
  recorder->becomeFirstResponder();
  for (const std::uint64_t flags :
       {std::uint64_t{0}, shift, capsLock, command | function, control | unnamed}) {
    EXPECT_EQ(type(0, flags), EventPass::swallow);
  }
  EXPECT_EQ(type(48, shift), EventPass::swallow);
  type(96, function);
  EXPECT_EQ(desktop.sound.beeps, 7);
  EXPECT_TRUE(recorder->isRecording.get());
  EXPECT_THAT(changes, IsEmpty());
  type(96, shift);
  EXPECT_EQ(shortcuts.shortcut(slot), (Shortcut{96, 0x200})) << "function keys need no modifier";
  expectIdle();
}

TEST_F(RecorderTest, EscapeTabAndClicksOutsideKeepTheOldValue) {
  shortcuts.setShortcut(slot, commandR);
  const std::pair<InputEvent, EventPass> endings[] = {{keyDown(0, 53), EventPass::swallow},
                                                      {keyDown(0, 48), EventPass::passOn},
                                                      {leftUp(0, {96.5, 60}), EventPass::passOn}};
  for (const auto& [event, pass] : endings) {
    recorder->becomeFirstResponder();
    for (const InputEvent& near :
         {leftUp(0, {97.5, 78}), mouse(EventType::rightMouseUp, 0, {233, 53})}) {
      EXPECT_EQ(desktop.localInput.send(near), EventPass::swallow);
    }
    EXPECT_EQ(desktop.localInput.send(event), pass);
    expectIdle();
  }
  recorder->becomeFirstResponder();
  recorder->resignFirstResponder();
  expectIdle();
  EXPECT_EQ(shortcuts.shortcut(slot), commandR);
  EXPECT_THAT(changes, IsEmpty());
  EXPECT_THAT(focusRequests, ElementsAre(false, false));
}

TEST_F(RecorderTest, DeletingClearsTheSlotAndGoesOnRecording) {
  for (const auto code : {std::uint16_t{51}, std::uint16_t{117}}) {
    shortcuts.setShortcut(slot, commandR);
    recorder->becomeFirstResponder();
    EXPECT_EQ(type(code), EventPass::swallow);
    EXPECT_EQ(recorder->stringValue.get(), "");
    EXPECT_FALSE(recorder->showsCancelButton.get());
    EXPECT_FALSE(shortcuts.shortcut(slot));
    EXPECT_TRUE(recorder->isRecording.get());
  }
  EXPECT_THAT(changes, ElementsAre(std::nullopt, std::nullopt));
  EXPECT_EQ(type(51, command), EventPass::swallow) << "with a modifier it is a combination";
  EXPECT_EQ(shortcuts.shortcut(slot), (Shortcut{51, 0x100}));
}

TEST_F(RecorderTest, TakenCombinationsAreRefusedWithAnAlert) {
  desktop.hotKeys.symbolic = {{true, 49, 0x1000}};
  recorder->becomeFirstResponder();
  type(12, command);
  expectIdle();
  EXPECT_THAT(recorder->alert.get(), Optional(FieldsAre(HasSubstr("“Quit Tapeloop”"), "")));
  recorder->dismissAlert();
  EXPECT_FALSE(recorder->alert.get());
  EXPECT_THAT(focusRequests, ElementsAre(false, true));

  recorder->becomeFirstResponder();
  type(49, control);
  EXPECT_THAT(recorder->alert.get(),
              Optional(FieldsAre(texts.text("keyboard_shortcut_used_by_system"),
                                 texts.text("keyboard_shortcuts_can_be_changed"))));
  EXPECT_THAT(changes, IsEmpty());
}

TEST_F(RecorderTest, TheTextFollowsTheSlotItsNameAndTheLayout) {
  shortcuts.setShortcut(slot, commandR);
  EXPECT_EQ(recorder->stringValue.get(), "⌘R");
  desktop.keyboardLayouts.use(
      std::make_shared<simulated::ScriptedLayout>(std::map<std::uint16_t, std::string>{{15, "p"}}));
  EXPECT_EQ(recorder->stringValue.get(), "⌘P");
  shortcuts.setShortcut({"other", std::nullopt}, Shortcut{96, 0});
  EXPECT_EQ(recorder->stringValue.get(), "⌘P");
  recorder->setShortcutName({"other", std::nullopt});
  EXPECT_EQ(recorder->stringValue.get(), "F5");
}

TEST_F(RecorderTest, DestructionEndsTheRecording) {
  RecorderCocoa other(services(), {"other", std::nullopt});
  recorder->becomeFirstResponder();
  other.becomeFirstResponder();
  recorder.reset();
  EXPECT_TRUE(shortcuts.isPaused());
  other.resignFirstResponder();
  EXPECT_FALSE(shortcuts.isPaused());
  EXPECT_FALSE(desktop.localInput.isAnyInstalled());
}

TEST(RecorderTextsTest, AFormatTakesOneArgumentWhateverItsText) {
  const RecorderTexts texts(
      {{"a", "no place"}, {"b", "%@ and %@"}, {"c", "%s%n%@"}, {"press_shortcut", "Drück"}});
  EXPECT_EQ(texts.format("a", "x"), "no place");
  EXPECT_EQ(texts.format("b", "%@"), "%@ and %@");
  EXPECT_EQ(texts.format("c", "x"), "%s%nx");
  EXPECT_EQ(texts.text("press_shortcut"), "Drück");
  EXPECT_EQ(texts.text("unknown"), "");
}

}  // namespace
}  // namespace tapeloop
