#pragma once

#include <cstdint>
#include <memory>

#include "capture/capture_state.h"
#include "playback/playback_scheduler.h"
#include "playback/playback_state.h"

namespace tapeloop {

/// What started playback. The two differ in the trace lines only.
enum class PlayVariant : std::uint8_t { button, shortcut };

/// Controls playback from the play action to its end: works out the wait between runs, starts the
/// runs with the ticks of the cycle timer, and counts the runs that have ended.
class RepeatController {
 public:
  RepeatController(CaptureState& capture, PlaybackState& state, const PlaybackSettings& settings,
                   const PlaybackServices& services, PlaybackScheduler& scheduler);
  RepeatController(const RepeatController&) = delete;
  RepeatController& operator=(const RepeatController&) = delete;
  ~RepeatController();

  /// During playback this only restarts the count and updates the wait.
  void startPlayback(PlayVariant variant);

 private:
  [[nodiscard]] bool hasSomethingToPlay() const;
  void updateWaitTime();
  [[nodiscard]] double runDuration() const;
  void tick(const TimerRef& cycleTimer, PlayVariant variant);
  void finishRun(const TimerRef& cycleTimer);

  CaptureState& capture_;
  PlaybackState& state_;
  const PlaybackSettings settings_;
  const PlaybackServices services_;
  PlaybackScheduler& scheduler_;
  bool countReached_ = false;  // since the play action, also by a run of an earlier playback
  // End-of-run timers can't be cancelled. They do nothing if this has expired.
  std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
};

}  // namespace tapeloop
