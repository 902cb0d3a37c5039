#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "capture/recording.h"
#include "platform/observable.h"
#include "platform/timer_queue.h"
#include "platform/window_system.h"

namespace tapeloop {

/// The part of the main window's state that playback adds to the capture part. Owned by
/// `ContentView`.
struct PlaybackState {
  State<bool> showingPlayAlert{false};
  Recording loadedRecording;
  std::vector<TimerRef> timerArray{std::make_shared<Timer>()};  ///< Of the latest run.
  TimerRef repeatTimer;                                         ///< Cycle timer, or null.
  double waitTime = 0;                                          ///< Seconds between runs.
  double widthScreen = 5.0;                                     ///< Points.
  std::shared_ptr<Window> ESCwindow;  ///< Of the latest playback, or null.
};

/// The settings that playback reads and writes.
struct PlaybackSettings {
  Observable<double>& playbackSpeed;
  Observable<bool>& repeatPlayback;
  Observable<double>& timesToRepeat;
  Observable<std::int64_t>& playCount;
  Observable<bool>& waitBeforeRepeating;
  Observable<std::int64_t>& waittimenumber;
  Observable<std::string>& waittimeunit;
};

}  // namespace tapeloop
