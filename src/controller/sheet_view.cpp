#include "controller/sheet_view.h"

#include <algorithm>
#include <cmath>

#include "controller/shortcut_slots.h"

namespace tapeloop {
namespace {

// An edited store may hold a number beyond the range of every integer.
std::int64_t truncated(double value) {
  constexpr double limit = 9e18;
  if (std::isnan(value)) return 0;
  return static_cast<std::int64_t>(std::clamp(value, -limit, limit));
}

double within(double lowest, double value, double highest) {
  return value >= lowest ? std::min(value, highest) : lowest;  // NaN, too, becomes the lowest
}

}  // namespace

SheetView::SheetView(Observable<bool>& showSheet, Settings& stored, Trace& trace,
                     const RecorderServices& recorders)
    : showSheetView(showSheet), settings(stored), trace_(trace) {
  for (const ShortcutSlot& slot : shortcutSlots) recorders_.emplace_back(recorders, slot.name);
  // The captions follow their values while the sheet is shown.
  subscriptions_.push_back(settings.timesToRepeat.subscribe([this] {
    if (!showSheetView.get()) return;
    trace_.writeNumber(settings.timesToRepeat.get());
    updateRepeatCaption();
  }));
  subscriptions_.push_back(settings.waittimenumber.subscribe([this] {
    if (showSheetView.get()) updateUnitCaptions();
  }));
}

void SheetView::onAppear() {
  updateUnitCaptions();
  updateRepeatCaption();
}

void SheetView::saveButtonPressed() {
  trace_.writeLine("Saving Settings...");
  settings.playCount.set(0);
  showSheetView.set(false);
}

double SheetView::timesToRepeatOnSlider() const {
  return within(0, settings.timesToRepeat.get(), mostTimesToRepeat);
}
double SheetView::playbackSpeedOnSlider() const {
  return within(lowestSpeed, settings.playbackSpeed.get(), highestSpeed);
}
void SheetView::slideTimesToRepeat(double to) {
  settings.timesToRepeat.set(within(0, to, mostTimesToRepeat));
}
void SheetView::slidePlaybackSpeed(double to) {
  settings.playbackSpeed.set(std::round(within(lowestSpeed, to, highestSpeed)));
}

std::string SheetView::repeatCaption() const {
  return "Repeat " + repeatTimeLabel.get() + " " + timeOrTimes.get();
}

std::string SheetView::speedCaption() const {
  return "Playback Speed: " + std::to_string(truncated(settings.playbackSpeed.get())) + "x";
}

void SheetView::updateRepeatCaption() {
  const double times = settings.timesToRepeat.get();
  if (times >= 0 && times < 1) {
    repeatTimeLabel.set("Unlimited");
  } else if (times >= 1) {
    repeatTimeLabel.set(std::to_string(truncated(times)));
  }
  timeOrTimes.set(times >= 1 && times < 2 ? "Time" : "Times");
}

void SheetView::updateUnitCaptions() {
  const bool one = settings.waittimenumber.get() == 1;
  secondsLabel.set(one ? "Second" : "Seconds");
  minutesLabel.set(one ? "Minute" : "Minutes");
  hoursLabel.set(one ? "Hour" : "Hours");
}

}  // namespace tapeloop
