#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "controller/settings.h"
#include "hotkeys/recorder_cocoa.h"
#include "platform/observable.h"
#include "platform/trace.h"

namespace tapeloop {

/// The sheet in which settings are edited. An edit is stored the moment it is made.
class SheetView {
 public:
  // The ranges of the sliders and of the picker of the wait time.
  static constexpr double mostTimesToRepeat = 100;
  static constexpr double lowestSpeed = 1;
  static constexpr double highestSpeed = 10;
  static constexpr std::int64_t longestWait = 60;

  /// `showSheetView` belongs to the main window.
  SheetView(Observable<bool>& showSheetView, Settings& settings, Trace& trace,
            const RecorderServices& recorders);
  SheetView(const SheetView&) = delete;
  SheetView& operator=(const SheetView&) = delete;

  Observable<bool>& showSheetView;
  Settings& settings;
  State<std::string> secondsLabel{"Seconds"};
  State<std::string> minutesLabel{"Minutes"};
  State<std::string> hoursLabel{"Hours"};
  State<std::string> repeatTimeLabel{"5"};
  State<std::string> timeOrTimes{"Times"};

  void onAppear();
  void saveButtonPressed();

  // Which of the controls respond. Those of the speed and of the shortcuts always do.
  [[nodiscard]] bool repeatControlsRespond() const { return settings.repeatPlayback.get(); }
  [[nodiscard]] bool pickersRespond() const {
    return settings.repeatPlayback.get() && settings.waitBeforeRepeating.get();
  }

  // The positions of the sliders. A stored value beyond the range, which only an edited store has,
  // is shown as the end of the range and stays stored until the slider is moved.
  [[nodiscard]] double timesToRepeatOnSlider() const;
  [[nodiscard]] double playbackSpeedOnSlider() const;
  void slideTimesToRepeat(double to);
  void slidePlaybackSpeed(double to);

  // The captions.
  [[nodiscard]] std::string repeatCaption() const;
  [[nodiscard]] std::string speedCaption() const;

  /// One field for each of the `shortcutSlots`, in their order.
  [[nodiscard]] std::deque<RecorderCocoa>& recorders() { return recorders_; }

 private:
  void updateRepeatCaption();
  void updateUnitCaptions();

  Trace& trace_;
  std::deque<RecorderCocoa> recorders_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tapeloop
