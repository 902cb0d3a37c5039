#include "controller/sheet_view.h"

#include <algorithm>
#include <cmath>

#include "controller/shortcut_slots.h"
#include "platform/number_text.h"

namespace tapeloop {
namespace {

// What an edited store may hold is beyond every integer; no slider is.
std::int64_t truncated(double value) {
  constexpr double limit = 9e18;
  if (std::isnan(value)) return 0;
  return static_cast<std::int64_t>(std::clamp(value, -limit, limit));
}

double within(double lowest, double value, double highest) {
  return value >= lowest ? std::min(value, highest) : lowest;  // which takes what is no number, too
}

}  // namespace

SheetView::SheetView(Observable<bool>& showSheetView, Settings& settings, Trace& trace,
                     const RecorderServices& recorders)
    : repeatPlayback(settings.repeatPlayback),
      waitBeforeRepeating(settings.waitBeforeRepeating),
      hideDuringRecording(settings.hideDuringRecording),
      waittimenumber(settings.waittimenumber),
      waittimeunit(settings.waittimeunit),
      timesToRepeat(settings.timesToRepeat),
      playbackSpeed(settings.playbackSpeed),
      playCount(settings.playCount),
      showSheetView_(showSheetView),
      trace_(trace),
      recordShortcut_(recorders, tapeloop::recordShortcut),
      playShortcut_(recorders, tapeloop::playShortcut) {
  // The captions follow their values for as long as the sheet is shown.
  subscriptions_.push_back(timesToRepeat.subscribe([this] {
    if (!showSheetView_.get()) return;
    trace_.writeLine([this] { return decimalText(timesToRepeat.get()); });
    updateRepeatCaption();
  }));
  subscriptions_.push_back(waittimenumber.subscribe([this] {
    if (showSheetView_.get()) updateUnitCaptions();
  }));
}

void SheetView::onAppear() {
  updateUnitCaptions();
  updateRepeatCaption();
}

void SheetView::saveButtonPressed() {
  trace_.writeLine("Saving Settings...");
  playCount.set(0);
  showSheetView_.set(false);
}

double SheetView::timesToRepeatOnSlider() const {
  return within(0, timesToRepeat.get(), mostTimesToRepeat);
}
double SheetView::playbackSpeedOnSlider() const {
  return within(lowestSpeed, playbackSpeed.get(), highestSpeed);
}
void SheetView::slideTimesToRepeat(double to) {
  timesToRepeat.set(within(0, to, mostTimesToRepeat));
}
void SheetView::slidePlaybackSpeed(double to) {
  playbackSpeed.set(std::round(within(lowestSpeed, to, highestSpeed)));
}

std::string SheetView::repeatCaption() const {
  return "Repeat " + repeatTimeLabel.get() + " " + timeOrTimes.get();
}

std::string SheetView::speedCaption() const {
  return "Playback Speed: " + std::to_string(truncated(playbackSpeed.get())) + "x";
}

void SheetView::updateRepeatCaption() {
  const double times = timesToRepeat.get();
  if (times >= 0 && times < 1) {
    repeatTimeLabel.set("Unlimited");
  } else if (times >= 1) {
    repeatTimeLabel.set(std::to_string(truncated(times)));
  }
  timeOrTimes.set(times >= 1 && times < 2 ? "Time" : "Times");
}

void SheetView::updateUnitCaptions() {
  const bool one = waittimenumber.get() == 1;
  secondsLabel.set(one ? "Second" : "Seconds");
  minutesLabel.set(one ? "Minute" : "Minutes");
  hoursLabel.set(one ? "Hour" : "Hours");
}

}  // namespace tapeloop
