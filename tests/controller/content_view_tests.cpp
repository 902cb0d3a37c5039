#include <memory>

#include "controller/content_view.h"
#include "controller/shortcut_names.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr simulated::ScriptedHotKeyService::Combination escape{53, 0};
constexpr Shortcut commandP{35, cmdKey};

/// The program without its window.
class ContentViewTest : public SimulatedTest {
 protected:
  void record(const std::vector<InputEvent>& events) {
    view->recordButtonPressed();
    for (const InputEvent& event : events) deliver(event);
    view->recordButtonPressed();
  }

  Settings settings{desktop.defaults};
  std::unique_ptr<ContentView> view = std::make_unique<ContentView>(desktop.services(), settings);
};

TEST_F(ContentViewTest, AppearingTakesTheScreenEmptiesTheLogAndAsksForAReview) {
  EXPECT_EQ(view->playbackState().widthScreen, 5.0);
  view->captureState().eventLog.append(move(1));
  view->onAppear();
  EXPECT_EQ(view->playbackState().widthScreen, 1440);
  EXPECT_EQ(view->captureState().heightScreen, 900);
  EXPECT_TRUE(view->captureState().eventLog.empty());
  view->onAppear();
  EXPECT_EQ(desktop.review.requests, 2);
}

TEST_F(ContentViewTest, AppearingWithoutAScreenOrPermissionChangesNeither) {
  desktop.screens.list.clear();
  desktop.permission.granted = false;
  view->onAppear();
  EXPECT_EQ(view->playbackState().widthScreen, 5.0);
  EXPECT_EQ(view->captureState().heightScreen, 5.0);
  EXPECT_EQ(desktop.review.requests, 0);
}

TEST_F(ContentViewTest, AlertsAreRaisedAndDismissed) {
  view->onAppear();
  view->playButtonPressed();
  EXPECT_TRUE(view->playbackState().showingPlayAlert.get());
  view->dismissPlayAlert();
  EXPECT_FALSE(view->playbackState().showingPlayAlert.get());

  desktop.permission.granted = false;
  view->recordButtonPressed();
  EXPECT_TRUE(view->captureState().showingAuthAlert.get());
  view->dismissAuthAlert();
  EXPECT_FALSE(view->captureState().showingAuthAlert.get());
  EXPECT_THAT(lines(), ElementsAre("Dismiss button pressed.", "Dismiss button pressed."));
}

TEST_F(ContentViewTest, DisabledButtonsDoNothingWhileShortcutsAndMenusGoOn) {
  view->onAppear();
  record({move(1), move(2)});
  view->saveButtonPressed();
  view->recordButtonPressed();
  lines();
  const auto writes = desktop.defaults.writes("recordingList");
  view->playButtonPressed();
  view->settingsButtonPressed();
  view->saveButtonPressed();
  view->listButtonPressed();
  view->informationButtonPressed();
  view->loadButtonPressed(0);
  view->trashButtonPressed(0);
  EXPECT_THAT(lines(), IsEmpty());
  EXPECT_FALSE(view->showSheetView().get());
  EXPECT_TRUE(view->libraryState().showingSavedRecordings.get());
  EXPECT_FALSE(view->informationButton().showingAlert.get());
  EXPECT_EQ(desktop.defaults.writes("recordingList"), writes);
  for (const auto button : {ToolbarButton::settings, ToolbarButton::save, ToolbarButton::list}) {
    view->toolbar().hover(button, true);
  }
  EXPECT_EQ(view->toolbar().settingsButtonOpacity.get(), 1.0);
  EXPECT_EQ(view->toolbar().saveButtonOpacity.get(), 1.0);
  EXPECT_EQ(view->toolbar().listButtonOpacity.get(), 1.0);

  view->library().loadSavedRecording(LoadVariant::contextMenu, 0);
  EXPECT_EQ(view->playbackState().loadedRecording.title, "New Recording");
  view->recordButtonPressed();
  view->trashButtonPressed(0);
  EXPECT_EQ(view->libraryState().rowCount.get(), 0u);
}

TEST_F(ContentViewTest, TheToolbarFollowsThePointerAndOpensTheSheet) {
  view->toolbar().hover(ToolbarButton::save, true);
  EXPECT_TRUE(view->toolbar().hoveringOverSettings.get());
  EXPECT_EQ(view->toolbar().saveButtonOpacity.get(), 0.75);
  EXPECT_EQ(view->toolbar().listButtonOpacity.get(), 1.0);
  view->toolbar().hover(ToolbarButton::save, false);
  EXPECT_FALSE(view->toolbar().hoveringOverSettings.get());
  EXPECT_EQ(view->toolbar().saveButtonOpacity.get(), 1.0);
  view->settingsButtonPressed();
  EXPECT_TRUE(view->showSheetView().get());
  view->settingsButtonPressed();
  EXPECT_FALSE(view->showSheetView().get());
  EXPECT_THAT(lines(), ElementsAre("Settings Button Pressed.", "Settings Button Pressed."));
}

TEST_F(ContentViewTest, ASavedRecordingIsLoadedAndPlayed) {
  view->onAppear();
  record({keyDown(10, 1), keyUp(11, 1), move(12)});
  view->saveButtonPressed();
  record({leftDown(0)});
  view->loadButtonPressed(0);
  view->playButtonPressed();
  advance(10);
  EXPECT_THAT(posted(),
              ElementsAre(TypeAndTime{EventType::keyDown, 0.0}, TypeAndTime{EventType::keyUp, 1.0},
                          TypeAndTime{EventType::mouseMoved, 2.0}));
}

TEST_F(ContentViewTest, RecordsAndPlaysTwiceWithAWait) {
  view->onAppear();
  settings.repeatPlayback.set(true);
  settings.timesToRepeat.set(2);
  settings.waitBeforeRepeating.set(true);
  settings.waittimenumber.set(3);
  settings.waittimeunit.set("seconds");
  record({leftDown(100, {10, 20}), leftUp(100.5, {10, 20}), keyDown(101, 4), keyUp(101.25, 4)});
  EXPECT_TRUE(settings.isMiniturized.get());
  lines();

  view->onToolbarAppear();
  view->keyboardShortcuts().setShortcut(toggleUnicornMode2, commandP);
  EXPECT_FALSE(desktop.hotKeys.press({35, cmdKey}));
  EXPECT_FALSE(view->captureState().isPlaying.get());
  desktop.hotKeys.release({35, cmdKey});
  advance(60);
  EXPECT_THAT(
      posted(),
      ElementsAre(TypeAndTime{EventType::leftMouseDown, 0.0},
                  TypeAndTime{EventType::leftMouseUp, 0.5}, TypeAndTime{EventType::keyDown, 1.0},
                  TypeAndTime{EventType::keyUp, 1.25}, TypeAndTime{EventType::leftMouseDown, 4.25},
                  TypeAndTime{EventType::leftMouseUp, 4.75},
                  TypeAndTime{EventType::keyDown, 5.25}));
  // The count cancels the last event of the last run; what it left down is released all the same.
  ASSERT_EQ(desktop.eventSynthesis.released().size(), 1u);
  EXPECT_EQ(desktop.eventSynthesis.released()[0].event.keyCode, 4);
  EXPECT_EQ(desktop.eventSynthesis.released()[0].time, 5.5);
  const Lines trace = lines();
  EXPECT_THAT(Lines(trace.end() - 9, trace.end()),
              ElementsAre("2", "STOP!!!", "4", "4", "0", "1", "2", "3", "isPlaying"));
  EXPECT_EQ(settings.playCount.get(), 0);
  EXPECT_FALSE(desktop.eventSynthesis.hasSession());
}

TEST_F(ContentViewTest, EscapeDuringCaptureStopsNothing) {
  view->onAppear();
  view->onToolbarAppear();
  view->keyboardShortcuts().setShortcut(toggleUnicornMode, commandP);
  desktop.hotKeys.press({35, cmdKey});
  desktop.hotKeys.release({35, cmdKey});
  EXPECT_TRUE(desktop.hotKeys.press(escape));
  EXPECT_THAT(lines(),
              ElementsAre("record shortcut pressed", "Recording: true", "Escape Key Pressed"));
  EXPECT_TRUE(view->captureState().isRecording.get());
}

TEST_F(ContentViewTest, TheRecordButtonDuringPlaybackLeavesTheRunAlone) {
  view->onAppear();
  record({keyDown(0, 1), keyUp(2, 1)});
  view->playButtonPressed();
  advance(1);
  view->recordButtonPressed();
  EXPECT_TRUE(view->captureState().isPlaying.get());
  EXPECT_FALSE(view->captureState().isRecording.get());
  advance(1);
  EXPECT_EQ(posted().size(), 2u);
}

TEST_F(ContentViewTest, NothingOfARunIsLeftOnceEscapeAndANewRecordingFollowedIt) {
  view->onAppear();
  record({keyDown(0, 1), keyUp(10, 1)});
  view->playButtonPressed();
  advance(1);
  view->onToolbarAppear();
  EXPECT_FALSE(desktop.hotKeys.press(escape));
  EXPECT_TRUE(desktop.hotKeys.press(escape)) << "nothing plays any more";
  record({move(0), move(1)});
  advance(100);
  EXPECT_EQ(posted().size(), 1u);
  EXPECT_EQ(desktop.eventSynthesis.released().size(), 1u);
}

TEST_F(ContentViewTest, AStoreThatCannotBeWrittenKeepsNothingFromWorking) {
  desktop.defaults.setStatus(StoreStatus::diskFull);
  view->onAppear();
  view->recordButtonPressed();
  for (int i = 0; i < 1000; ++i) deliver(move(100 + i * 0.001));
  EXPECT_EQ(settings.startStopButtonText.get(), "Stop Recording");
  EXPECT_EQ(desktop.defaults.writes("startStopButtonText"), 2u)
      << "a store that refuses is not asked again for every event";
  view->recordButtonPressed();
  view->playButtonPressed();
  advance(2);
  EXPECT_EQ(posted().size(), 1000u);
  EXPECT_EQ(settings.playCount.get(), 1);
  EXPECT_FALSE(view->captureState().isPlaying.get());
}

TEST_F(ContentViewTest, QuittingInTheMiddleOfCaptureAndOfPlaybackEndsCleanly) {
  view->onAppear();
  record({leftDown(0), leftUp(10)});
  view->playButtonPressed();
  advance(1);
  view.reset();
  EXPECT_THAT(desktop.eventSynthesis.heldButtons(), IsEmpty());
  EXPECT_EQ(desktop.windows.visibleWindows(), 0u);
  advance(100);

  view = std::make_unique<ContentView>(desktop.services(), settings);
  view->onAppear();
  view->recordButtonPressed();
  deliver(move(0));
  desktop.inputMonitor.holdBack(move(1));
  view.reset();
  EXPECT_EQ(desktop.inputMonitor.installed(), 0u);
  EXPECT_EQ(desktop.windows.visibleWindows(), 0u);
  advance(100);
  EXPECT_EQ(posted().size(), 1u);
}

}  // namespace
}  // namespace tapeloop
