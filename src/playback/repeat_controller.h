#pragma once

#include <cstdint>
#include <memory>

#include "capture/capture_state.h"
#include "playback/playback_scheduler.h"
#include "playback/playback_state.h"

namespace tapeloop {

/// Who started playback. The two differ in the lines that they write.
enum class PlayVariant : std::uint8_t { button, shortcut };

/// Drives playback from the play action to its end: the wait between runs, the cycle timer whose
/// ticks start the runs, and the count of the runs that are over. Main thread only.
class RepeatController {
 public:
  /// Everything that is handed in outlives the controller.
  RepeatController(CaptureState& capture, PlaybackState& state, const PlaybackSettings& settings,
                   const PlaybackServices& services, PlaybackScheduler& scheduler);
  RepeatController(const RepeatController&) = delete;
  RepeatController& operator=(const RepeatController&) = delete;
  ~RepeatController();

  /// During playback this only restarts the count and works the wait out again.
  void startPlayback(PlayVariant variant);

 private:
  [[nodiscard]] bool hasSomethingToPlay() const;
  void updateWaitTime();
  [[nodiscard]] double runDuration() const;
  void tick(const TimerRef& cycleTimer, PlayVariant variant);
  [[nodiscard]] bool isRunUnderWay(const TimerRef& cycleTimer) const;
  void beginCycle(const TimerRef& cycleTimer, PlayVariant variant);
  void finishRun(const TimerRef& cycleTimer);

  CaptureState& capture_;
  PlaybackState& state_;
  const PlaybackSettings settings_;
  const PlaybackServices services_;
  PlaybackScheduler& scheduler_;
  bool countReached_ = false;  // since the play action, perhaps by a run of an earlier playback
  // End-of-run timers are stored nowhere and can't be cancelled. This tells them that there is
  // still a controller to count for.
  std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
};

}  // namespace tapeloop
