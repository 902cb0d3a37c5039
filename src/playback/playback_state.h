#pragma once

#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "capture/recording.h"
#include "platform/event_synthesis.h"
#include "platform/observable.h"
#include "platform/run_loop.h"
#include "platform/screens.h"
#include "platform/trace.h"
#include "platform/window_system.h"

namespace tapeloop {

/// The part of the main window's state that playback adds to that of capture. Owned by
/// `ContentView`.
struct PlaybackState {
  State<bool> showingPlayAlert{false};
  Recording loadedRecording;
  std::vector<TimerRef> timerArray{std::make_shared<Timer>()};  ///< Of the latest run.
  TimerRef repeatTimer;                                         ///< The cycle timer, or null.
  double waitTime = 0;                                          ///< Seconds between runs.
  double widthScreen = 5.0;                                     ///< Points.
  std::shared_ptr<Window> ESCwindow;  ///< The hint of the latest playback, or null.
};

/// The settings that playback reads, and the one that it writes: `playCount`.
struct PlaybackSettings {
  Observable<double>& playbackSpeed;
  Observable<bool>& repeatPlayback;
  Observable<double>& timesToRepeat;
  Observable<std::int64_t>& playCount;
  Observable<bool>& waitBeforeRepeating;
  Observable<std::int64_t>& waittimenumber;
  Observable<std::string>& waittimeunit;

  /// What recorded durations are divided by. A stored speed that can't be divided by counts as 1.
  [[nodiscard]] double divisor() const {
    const double speed = playbackSpeed.get();
    return std::isfinite(speed) && speed > 0 ? speed : 1.0;
  }
};

/// The services of the desktop that playback uses.
struct PlaybackServices {
  RunLoop& runLoop;
  Clock& clock;
  Trace& trace;
  EventSynthesis& eventSynthesis;
  Screens& screens;
  WindowSystem& windows;
};

}  // namespace tapeloop
