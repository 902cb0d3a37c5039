#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "capture/capture_state.h"
#include "platform/event_synthesis.h"
#include "platform/observable.h"
#include "platform/run_loop.h"
#include "playback/event_synthesizer.h"
#include "playback/playback_state.h"

namespace tapeloop {

/// Plays single runs of the current recording, with one timer for each event, ends playback, and
/// shows the hint window while `isPlaying` holds. When the next run starts is up to
/// `RepeatController`.
class PlaybackScheduler {
 public:
  PlaybackScheduler(CaptureState& capture, PlaybackState& state, const PlaybackSettings& settings,
                    const PlaybackServices& services);
  PlaybackScheduler(const PlaybackScheduler&) = delete;
  PlaybackScheduler& operator=(const PlaybackScheduler&) = delete;
  /// Pending events are not posted, and the keys and buttons that runs hold are released.
  ~PlaybackScheduler();

  /// Starts a run. Pending events of an earlier run stay pending, and can't be cancelled any more.
  void playRecording();

  /// The latest deadline of all events since playback began; `longAgo` if there was none.
  [[nodiscard]] std::int64_t lastDeadline() const { return lastDeadline_; }

  /// What the Escape key does.
  void stopPlayback();
  /// Ends playback: the pending events of the latest run and `cycleTimer` (may be null) are
  /// cancelled.
  void endPlayback(const TimerRef& cycleTimer);

 private:
  struct Run;
  static constexpr std::int64_t longAgo = std::numeric_limits<std::int64_t>::min();

  void playEventLog();
  void playLoadedRecording();
  std::shared_ptr<Run> beginRun(std::shared_ptr<const EventLog::Events> events, std::size_t count);
  void schedule(const std::shared_ptr<Run>& run, std::size_t index, double offset);
  void post(const Run& run, std::size_t index);
  void isPlayingChanged();

  CaptureState& capture_;
  PlaybackState& state_;
  const PlaybackSettings settings_;
  const PlaybackServices services_;
  EventSynthesizer synthesizer_;
  std::vector<std::weak_ptr<Run>> runs_;  // expired if no event is pending
  std::int64_t lastDeadline_ = longAgo;
  std::shared_ptr<EventSynthesis::PostingSession> session_;  // while `isPlaying` holds
  Subscription isPlayingSubscription_;
};

}  // namespace tapeloop
