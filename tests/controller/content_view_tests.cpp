#include <functional>
#include <string>
#include <vector>

#include "controller/library_fixture.h"
#include "controller/shortcut_slots.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::FieldsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr simulated::ScriptedHotKeyService::Combination escape{53, 0};
constexpr Shortcut commandP{35, cmdKey};

using ContentViewTest = LibraryTest;

TEST_F(ContentViewTest, AppearingPreparesCaptureAndPlayback) {
  EXPECT_EQ(view->playbackState().widthScreen, 1440);
  EXPECT_EQ(view->captureState().heightScreen, 900);
  capture({move(1)});
  view->onAppear();
  EXPECT_TRUE(view->captureState().eventLog.empty());
  EXPECT_EQ(desktop.review.requests, 2);

  desktop.screens.list.clear();
  desktop.permission.granted = false;
  open();
  EXPECT_EQ(view->playbackState().widthScreen, 5.0);
  EXPECT_EQ(view->captureState().heightScreen, 5.0);
  EXPECT_EQ(desktop.review.requests, 2);
}

TEST_F(ContentViewTest, AlertsAndTheSheetComeAndGo) {
  desktop.permission.granted = false;
  auto& button = view->informationButton();
  const auto comesAndGoes = [this](auto come, const State<bool>& shown, auto go) {
    come(*view);
    EXPECT_TRUE(shown.get());
    go(*view);
    EXPECT_FALSE(shown.get());
  };
  comesAndGoes(std::mem_fn(&ContentView::playButtonPressed), view->playbackState().showingPlayAlert,
               std::mem_fn(&ContentView::dismissPlayAlert));
  comesAndGoes(std::mem_fn(&ContentView::recordButtonPressed),
               view->captureState().showingAuthAlert, std::mem_fn(&ContentView::dismissAuthAlert));
  const auto settingsButton = std::mem_fn(&ContentView::settingsButtonPressed);
  comesAndGoes(settingsButton, view->showSheetView(), settingsButton);
  const auto press = std::mem_fn(&ContentView::informationButtonPressed);
  comesAndGoes(press, button.showingAlert, [&](auto&) { button.dismissAlert(); });
  for (const bool opens : {true, false}) {
    desktop.workspace.opens = opens;
    comesAndGoes(press, button.showingAlert, [&](auto&) { button.openPrivacyPolicy(); });
  }
  EXPECT_EQ(desktop.workspace.opened.size(), 2u);
  const std::string dismissed = "Dismiss button pressed.";
  const std::string pressed = "Information Button Pressed.";
  const std::string policy = "Privacy Policy button pressed.";
  EXPECT_THAT(lines(), ElementsAre(dismissed, dismissed, "Settings Button Pressed.",
                                   "Settings Button Pressed.", pressed, dismissed, pressed, policy,
                                   "Opening Privacy Policy webpage...", pressed, policy));
}

TEST_F(ContentViewTest, DisabledButtonsDoNothing) {
  record({move(1), move(2)});
  view->saveButtonPressed();
  view->recordButtonPressed();
  lines();
  for (const auto press : {&ContentView::playButtonPressed, &ContentView::settingsButtonPressed,
                           &ContentView::saveButtonPressed, &ContentView::listButtonPressed,
                           &ContentView::informationButtonPressed}) {
    (*view.*press)();
  }
  view->loadButtonPressed(0);
  view->trashButtonPressed(0);
  EXPECT_THAT(lines(), IsEmpty()) << "each begins with a line";

  RecordingLibrary::rowMenu()[0].choose(library(), 0);
  EXPECT_EQ(view->playbackState().loadedRecording.title, "New Recording") << "menus go on";
  view->recordButtonPressed();
  view->trashButtonPressed(0);
  EXPECT_EQ(view->libraryState().rowCount.get(), 0u);
}

TEST_F(ContentViewTest, ButtonsFollowThePointer) {
  auto& toolbar = view->toolbar();
  auto& button = view->informationButton();
  HoverOpacity* const buttons[] = {&toolbar.settingsButtonOpacity, &toolbar.saveButtonOpacity,
                                   &toolbar.listButtonOpacity, &button.infoButtonOpacity};
  const auto opacities = [&] {
    std::vector<double> found;
    for (const auto* each : buttons) found.push_back(each->get());
    return found;
  };
  for (auto* each : buttons) each->hover(true);
  EXPECT_TRUE(toolbar.hoveringOverSettings.get());
  EXPECT_TRUE(button.hoveringOverStart.get());
  buttons[1]->hover(false);
  EXPECT_FALSE(toolbar.hoveringOverSettings.get());
  EXPECT_THAT(opacities(), ElementsAre(0.75, 1.0, 0.75, 0.75));
  view->captureState().isRecording.set(true);
  for (auto* each : buttons) each->hover(true);
  EXPECT_THAT(opacities(), ElementsAre(1.0, 1.0, 1.0, 0.75)) << "the toolbar is disabled";
}

// The golden session: what a user does and what the program posts and prints.
TEST_F(ContentViewTest, RecordsAndPlaysTwiceWithAWait) {
  settings.repeatPlayback.set(true);
  settings.timesToRepeat.set(2);
  settings.waitBeforeRepeating.set(true);
  settings.waittimenumber.set(3);
  record({leftDown(100, {10, 20}), leftUp(100.5, {10, 20}), keyDown(101, 4), keyUp(101.25, 4)});
  EXPECT_TRUE(settings.isMiniturized.get());
  EXPECT_TRUE(settings.hideDuringRecording.get());
  EXPECT_FALSE(settings.key.get());
  EXPECT_THAT(lines(), Contains("Recording: false"));

  view->onToolbarAppear();
  view->keyboardShortcuts().setShortcut(playShortcut, commandP);
  EXPECT_FALSE(desktop.hotKeys.press({35, cmdKey}));
  EXPECT_FALSE(view->captureState().isPlaying.get());
  desktop.hotKeys.release({35, cmdKey});
  advance(60);
  EXPECT_THAT(posted(),
              ElementsAre(Pair(EventType::leftMouseDown, 0), Pair(EventType::leftMouseUp, 0.5),
                          Pair(EventType::keyDown, 1), Pair(EventType::keyUp, 1.25),
                          Pair(EventType::leftMouseDown, 4.25), Pair(EventType::leftMouseUp, 4.75),
                          Pair(EventType::keyDown, 5.25)));
  // The count cancels the last event of the last run; what it left down is released all the same.
  EXPECT_THAT(desktop.eventSynthesis.released(),
              ElementsAre(FieldsAre(5.5, AllOf(Field(&SyntheticEvent::type, EventType::keyUp),
                                               Field(&SyntheticEvent::keyCode, 4)))));
  const Lines trace = lines();
  EXPECT_THAT(Lines(trace.end() - 9, trace.end()),
              ElementsAre("2", "STOP!!!", "4", "4", "0", "1", "2", "3", "isPlaying"));
  EXPECT_EQ(settings.playCount.get(), 0);
  EXPECT_FALSE(desktop.eventSynthesis.hasSession());
}

TEST_F(ContentViewTest, EscapeIsTakenOnlyDuringPlayback) {
  view->onToolbarAppear();
  record({keyDown(0, 1), keyUp(10, 1)});
  view->playButtonPressed();
  EXPECT_FALSE(desktop.hotKeys.tap(escape));
  EXPECT_FALSE(view->captureState().isPlaying.get());
  view->recordButtonPressed();
  EXPECT_TRUE(desktop.hotKeys.tap(escape));
  EXPECT_TRUE(view->captureState().isRecording.get());
}

TEST_F(ContentViewTest, WorksWithAStoreThatRefusesWrites) {
  desktop.defaults.setStatus(StoreStatus::diskFull);
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

TEST_F(ContentViewTest, EndsCleanlyDuringPlaybackAndCapture) {
  settings.repeatPlayback.set(true);
  record({leftDown(0), leftUp(10)});
  view->playButtonPressed();
  advance(12);  // in the second run, which follows without a wait
  EXPECT_THAT(desktop.eventSynthesis.heldButtons(), ElementsAre(MouseButton::left));
  view.reset();
  EXPECT_THAT(desktop.eventSynthesis.heldButtons(), IsEmpty());
  EXPECT_EQ(desktop.windows.visibleWindows(), 0u);

  open();
  view->recordButtonPressed();
  desktop.inputMonitor.holdBack(move(1));
  view.reset();
  EXPECT_EQ(desktop.inputMonitor.installed(), 0u);
  EXPECT_EQ(desktop.windows.visibleWindows(), 0u);
  lines();
  const auto before = posted().size();
  advance(100);
  EXPECT_EQ(posted().size(), before);
  EXPECT_THAT(lines(), IsEmpty());
}

}  // namespace
}  // namespace tapeloop
