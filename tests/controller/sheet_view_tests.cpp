#include <limits>
#include <string>
#include <tuple>

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

TEST_F(SheetViewTest, CaptionAndTraceFollowTheRuns) {
  settings.timesToRepeat.set(1);
  open();
  EXPECT_THAT(lines(), IsEmpty());
  EXPECT_EQ(sheet.repeatCaption(), "Repeat 1 Time");
  const std::tuple<double, const char*, const char*> changes[] = {
      {0.4, "0.4", "Unlimited Times"}, {1.0, "1.0", "1 Time"},
      {1.9, "1.9", "1 Time"},          {2.0, "2.0", "2 Times"},
      {0.0, "0.0", "Unlimited Times"}, {5.9, "5.9", "5 Times"},
      {-3.0, "-3.0", "5 Times"},       {100.0, "100.0", "100 Times"},
      {-3.5, "-3.5", "100 Times"},     {1e300, "1e+300", "9000000000000000000 Times"}};
  for (const auto& [times, line, caption] : changes) {
    settings.timesToRepeat.set(times);
    EXPECT_EQ(sheet.repeatCaption(), std::string("Repeat ") + caption);
    EXPECT_THAT(lines(), ElementsAre(line));
  }
  shown.set(false);
  settings.timesToRepeat.set(3);
  EXPECT_THAT(lines(), IsEmpty()) << "the sheet is closed";
}

TEST_F(SheetViewTest, UnitCaptionsFollowTheWait) {
  settings.waittimenumber.set(1);
  open();
  EXPECT_EQ(sheet.minutesLabel.get(), "Minute");
  settings.waittimenumber.set(2);
  EXPECT_EQ(sheet.secondsLabel.get(), "Seconds");
  EXPECT_EQ(sheet.hoursLabel.get(), "Hours");
  EXPECT_EQ(settings.waittimeunit.get(), "seconds");
}

TEST_F(SheetViewTest, SaveOnlyResetsTheCountAndCloses) {
  open();
  settings.playCount.set(3);
  int countWhenClosed = -1;
  const auto watch = shown.subscribe([&] { countWhenClosed = int(settings.playCount.get()); });
  sheet.saveButtonPressed();
  EXPECT_THAT(lines(), ElementsAre("Saving Settings..."));
  EXPECT_FALSE(shown.get());
  EXPECT_EQ(countWhenClosed, 0);
}

TEST_F(SheetViewTest, SlidersStayWithinTheirRanges) {
  settings.timesToRepeat.set(-3);
  settings.playbackSpeed.set(std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(sheet.timesToRepeatOnSlider(), 0);
  EXPECT_EQ(sheet.playbackSpeedOnSlider(), 1);
  EXPECT_EQ(sheet.speedCaption(), "Playback Speed: 0x");
  EXPECT_EQ(settings.timesToRepeat.get(), -3) << "stays until the slider is moved";
  const std::pair<double, std::pair<double, double>> moves[] = {
      {-1, {0, 1}}, {0.4, {0.4, 1}}, {5.5, {5.5, 6}}, {11, {11, 10}}, {101, {100, 10}}};
  for (const auto& [to, outcome] : moves) {
    sheet.slideTimesToRepeat(to);
    sheet.slidePlaybackSpeed(to);
    EXPECT_EQ(std::pair(settings.timesToRepeat.get(), settings.playbackSpeed.get()), outcome) << to;
  }
  EXPECT_EQ(desktop.defaults.objectForKey("playbackSpeed"), DefaultsValue(10.0));
  EXPECT_EQ(sheet.speedCaption(), "Playback Speed: 10x");
}

TEST_F(SheetViewTest, PickersRespondWhileThereIsAWait) {
  for (const bool repeats : {false, true}) {
    for (const bool waits : {false, true}) {
      settings.repeatPlayback.set(repeats);
      settings.waitBeforeRepeating.set(waits);
      EXPECT_EQ(sheet.pickersRespond(), repeats && waits);
    }
  }
}

TEST_F(SheetViewTest, EachFieldEditsItsOwnSlot) {
  ASSERT_EQ(sheet.recorders().size(), std::size(shortcutSlots));
  std::uint16_t key = 96;
  for (std::size_t i = 0; i < std::size(shortcutSlots); ++i, ++key) {
    sheet.recorders()[i].becomeFirstResponder();
    desktop.localInput.send(keyDown(0, key));
    EXPECT_EQ(shortcuts.shortcut(shortcutSlots[i].name), (Shortcut{key, 0}));
  }
}

}  // namespace
}  // namespace tapeloop
