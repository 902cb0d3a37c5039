#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "capture/capture_state.h"
#include "platform/event_synthesis.h"
#include "platform/observable.h"
#include "platform/timer_queue.h"
#include "playback/event_synthesizer.h"
#include "playback/playback_services.h"
#include "playback/playback_state.h"

namespace tapeloop {

/// Plays one run of the current recording with one timer an event, stops playback, and shows the
/// hint window while playback is active. Main thread only.
class PlaybackScheduler {
 public:
  /// Everything that is handed in outlives the scheduler.
  PlaybackScheduler(CaptureState& capture, PlaybackState& state, const PlaybackSettings& settings,
                    const PlaybackServices& services);
  PlaybackScheduler(const PlaybackScheduler&) = delete;
  PlaybackScheduler& operator=(const PlaybackScheduler&) = delete;
  /// Nothing that is still pending is posted any more.
  ~PlaybackScheduler();

  /// Events of an earlier run that are still pending stay pending, and can't be cancelled any more.
  void playRecording();

  /// The latest deadline of this playback's events, those that are over included; long ago if it
  /// has had none.
  [[nodiscard]] std::int64_t lastDeadline() const { return lastDeadline_; }

  /// What the Escape key does.
  void stopPlayback();
  /// Ends playback: the run's pending events and `cycleTimer` (may be null) are cancelled.
  void endPlayback(const TimerRef& cycleTimer);

 private:
  struct Run;
  static constexpr std::int64_t longAgo = std::numeric_limits<std::int64_t>::min();

  void playEventLog();
  void playLoadedRecording();
  Run& beginRun(std::shared_ptr<const EventLog::Events> events, std::size_t count);
  void schedule(Run& run, std::size_t index, double offset);
  void fire(Run& run, std::size_t index);
  void isPlayingChanged();

  CaptureState& capture_;
  PlaybackState& state_;
  const PlaybackSettings settings_;
  const PlaybackServices services_;
  EventSynthesizer synthesizer_;
  std::vector<std::unique_ptr<Run>> runs_;  // those with pending events, the latest one last
  std::int64_t lastDeadline_ = longAgo;
  std::shared_ptr<EventSynthesis::PostingSession> session_;  // while playback is active
  Subscription isPlayingSubscription_;
};

}  // namespace tapeloop
