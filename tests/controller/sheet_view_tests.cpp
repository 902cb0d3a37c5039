#include <limits>
#include <memory>

#include "controller/sheet_view.h"
#include "controller/shortcut_slots.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SheetViewTest : public SimulatedTest {
 protected:
  Settings settings{desktop.defaults};
  State<bool> shown{false};
  KeyboardShortcuts shortcuts{desktop.hotKeys, desktop.defaults, desktop.notifications};
  const RecorderTexts texts;
  SheetView sheet{shown,
                  settings,
                  desktop.trace,
                  {shortcuts, desktop.notifications, desktop.hotKeys, desktop.keyboardLayouts,
                   desktop.localInput, desktop.mainMenu, desktop.sound, texts, desktop.runLoop}};
  void open() {
    shown.set(true);
    sheet.onAppear();
  }
};

TEST_F(SheetViewTest, TheCaptionTellsTheRunsAsTheyWillBeCounted) {
  open();
  const std::pair<double, const char*> captions[] = {
      {0.4, "Repeat Unlimited Times"}, {1.0, "Repeat 1 Time"},
      {1.9, "Repeat 1 Time"},          {2.0, "Repeat 2 Times"},
      {0.0, "Repeat Unlimited Times"}, {5.9, "Repeat 5 Times"},
      {-3.0, "Repeat 5 Times"},        {100.0, "Repeat 100 Times"},
      {-3.5, "Repeat 100 Times"},      {1e300, "Repeat 9000000000000000000 Times"}};
  for (const auto& [times, caption] : captions) {
    settings.timesToRepeat.set(times);
    EXPECT_EQ(sheet.repeatCaption(), caption) << times;
  }
}

TEST_F(SheetViewTest, AChangeOfTheRunsIsPrintedInItsShortestForm) {
  open();
  EXPECT_THAT(lines(), IsEmpty());
  for (const double times : {37.25, 6.0, 0.1, 0.0}) settings.timesToRepeat.set(times);
  EXPECT_THAT(lines(), ElementsAre("37.25", "6.0", "0.1", "0.0"));
  shown.set(false);
  settings.timesToRepeat.set(3);
  EXPECT_THAT(lines(), IsEmpty()) << "the sheet is away";
}

TEST_F(SheetViewTest, OpeningBringsTheCaptionsUpToDate) {
  settings.timesToRepeat.set(1);
  settings.waittimenumber.set(1);
  open();
  EXPECT_EQ(sheet.repeatCaption(), "Repeat 1 Time");
  EXPECT_EQ(sheet.minutesLabel.get(), "Minute");
  settings.waittimenumber.set(2);
  EXPECT_EQ(sheet.secondsLabel.get(), "Seconds");
  EXPECT_EQ(sheet.hoursLabel.get(), "Hours");
  EXPECT_EQ(settings.waittimeunit.get(), "seconds");
}

TEST_F(SheetViewTest, EditsAreStoredAtOnceAndSaveOnlyResetsTheCountAndCloses) {
  open();
  settings.playCount.set(3);
  settings.playbackSpeed.set(7);
  EXPECT_EQ(desktop.defaults.objectForKey("playbackSpeed"), DefaultsValue(7.0));
  EXPECT_EQ(sheet.speedCaption(), "Playback Speed: 7x");
  int countWhenClosed = -1;
  const auto watch = shown.subscribe([&] { countWhenClosed = int(settings.playCount.get()); });
  sheet.saveButtonPressed();
  EXPECT_THAT(lines(), ElementsAre("Saving Settings..."));
  EXPECT_FALSE(shown.get());
  EXPECT_EQ(countWhenClosed, 0);
}

TEST_F(SheetViewTest, ASliderStaysWithinItsRangeAndLeavesWhatIsStoredBeyondItUntilItIsMoved) {
  settings.timesToRepeat.set(-3);
  settings.playbackSpeed.set(std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(sheet.timesToRepeatOnSlider(), 0);
  EXPECT_EQ(sheet.playbackSpeedOnSlider(), 1);
  EXPECT_EQ(settings.timesToRepeat.get(), -3);
  const std::pair<double, std::pair<double, double>> moves[] = {
      {-1, {0, 1}}, {0.4, {0.4, 1}}, {5.5, {5.5, 6}}, {11, {11, 10}}, {101, {100, 10}}};
  for (const auto& [to, outcome] : moves) {
    sheet.slideTimesToRepeat(to);
    sheet.slidePlaybackSpeed(to);
    EXPECT_EQ(std::pair(settings.timesToRepeat.get(), settings.playbackSpeed.get()), outcome) << to;
  }
}

TEST_F(SheetViewTest, ThePickersRespondWhileThereIsAWaitBetweenRuns) {
  for (const bool repeats : {false, true}) {
    for (const bool waits : {false, true}) {
      settings.repeatPlayback.set(repeats);
      settings.waitBeforeRepeating.set(waits);
      EXPECT_EQ(sheet.pickersRespond(), repeats && waits);
    }
  }
}

TEST_F(SheetViewTest, EachFieldEditsItsOwnSlot) {
  sheet.recorders()[1].becomeFirstResponder();
  desktop.localInput.send(keyDown(0, 96));
  EXPECT_EQ(shortcuts.shortcut(playShortcut), (Shortcut{96, 0}));
  EXPECT_FALSE(shortcuts.shortcut(recordShortcut));
}

}  // namespace
}  // namespace tapeloop
