#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "controller/settings.h"
#include "hotkeys/recorder_cocoa.h"
#include "platform/observable.h"
#include "platform/trace.h"

namespace tapeloop {

/// The sheet in which settings are edited. An edit is stored the moment it is made. Main thread
/// only.
class SheetView {
 public:
  // The ranges of the sliders and of the wait's picker.
  static constexpr double mostTimesToRepeat = 100;
  static constexpr double lowestSpeed = 1;
  static constexpr double highestSpeed = 10;
  static constexpr std::int64_t longestWait = 60;

  /// `showSheetView` is the window's. What is handed in outlives the sheet.
  SheetView(Observable<bool>& showSheetView, Settings& settings, Trace& trace,
            const RecorderServices& recorders);
  SheetView(const SheetView&) = delete;
  SheetView& operator=(const SheetView&) = delete;

  [[nodiscard]] Observable<bool>& showSheetView() { return showSheetView_; }
  Setting<bool>& repeatPlayback;
  Setting<bool>& waitBeforeRepeating;
  Setting<bool>& hideDuringRecording;
  Setting<std::int64_t>& waittimenumber;
  Setting<std::string>& waittimeunit;
  State<std::string> secondsLabel{"Seconds"};
  State<std::string> minutesLabel{"Minutes"};
  State<std::string> hoursLabel{"Hours"};
  Setting<double>& timesToRepeat;
  State<std::string> repeatTimeLabel{"5"};
  State<std::string> timeOrTimes{"Times"};
  Setting<double>& playbackSpeed;
  Setting<std::int64_t>& playCount;

  void onAppear();
  void saveButtonPressed();

  // Which of the controls respond. Those of the speed and of the shortcuts always do.
  [[nodiscard]] bool repeatControlsRespond() const { return repeatPlayback.get(); }
  [[nodiscard]] bool pickersRespond() const {
    return repeatPlayback.get() && waitBeforeRepeating.get();
  }

  // Where the sliders stand, and what they set: what is beyond a slider's range counts as its end.
  // An edited store may hold such a value, which stays until the slider is moved.
  [[nodiscard]] double timesToRepeatOnSlider() const;
  [[nodiscard]] double playbackSpeedOnSlider() const;
  void slideTimesToRepeat(double to);
  void slidePlaybackSpeed(double to);

  // What the sheet says.
  [[nodiscard]] std::string repeatCaption() const;
  [[nodiscard]] std::string speedCaption() const;

  [[nodiscard]] RecorderCocoa& recordShortcut() { return recordShortcut_; }
  [[nodiscard]] RecorderCocoa& playShortcut() { return playShortcut_; }

 private:
  void updateRepeatCaption();
  void updateUnitCaptions();

  Observable<bool>& showSheetView_;
  Trace& trace_;
  RecorderCocoa recordShortcut_;
  RecorderCocoa playShortcut_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tapeloop
