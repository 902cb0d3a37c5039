#include "playback/playback_scheduler.h"

#include <algorithm>
#include <string>
#include <utility>

#include "capture/indicator_windows.h"
#include "playback/date_interval.h"
#include "playback/playback_speed.h"

namespace tapeloop {
namespace {

constexpr std::size_t fewestEvents = 2;
constexpr double hintHalfWidth = 90;

}  // namespace

// What the timers of one run share. It lives until the last of them has fired or was invalidated,
// and then lets go of the keys and buttons that the run holds. A timer's block is no more than a
// pointer to it and an index, which needs no memory of its own: runs may have a million events.
struct PlaybackScheduler::Run {
  PlaybackScheduler& scheduler;
  std::shared_ptr<const EventLog::Events> events;  // null: rows of the loaded recording
  std::shared_ptr<EventSynthesis::PostingSession> session;
  std::size_t pending;
  std::vector<TimerRef> timers = {};  // once a later run has taken their place in the state
};

PlaybackScheduler::PlaybackScheduler(CaptureState& capture, PlaybackState& state,
                                     const PlaybackSettings& settings,
                                     const PlaybackServices& services)
    : capture_(capture),
      state_(state),
      settings_(settings),
      services_(services),
      synthesizer_(services.eventSynthesis, services.screens, services.trace),
      isPlayingSubscription_(capture.isPlaying.subscribe([this] { isPlayingChanged(); })) {}

PlaybackScheduler::~PlaybackScheduler() {
  for (const TimerRef& timer : state_.timerArray) timer->invalidate();
  for (const auto& run : runs_) {
    for (const TimerRef& timer : run->timers) timer->invalidate();
  }
}

void PlaybackScheduler::playRecording() {
  const std::string& type = capture_.recordingType.get();
  if (type == recording_type::unsaved) {
    playEventLog();
  } else if (type == recording_type::saved) {
    playLoadedRecording();
  }
}

void PlaybackScheduler::playEventLog() {
  const EventLog& log = capture_.eventLog;
  if (log.empty()) state_.showingPlayAlert.set(true);
  if (log.size() < fewestEvents) return;
  const double first = log.front().timestamp;
  const double last = log.back().timestamp;
  services_.trace.writeLine([&] {
    const double now = services_.clock.date();
    return "Date Interval: " + dateInterval(now + first, now + last);
  });
  capture_.recordingTime = last - first;
  const std::size_t count = log.size();
  Run& run = beginRun(log.events(), count);
  for (std::size_t i = 0; i < count; ++i) {
    services_.trace.writeNumber(i);
    schedule(run, i, log[i].timestamp - first);
  }
}

void PlaybackScheduler::playLoadedRecording() {
  const Recording& recording = state_.loadedRecording;
  if (recording.modifierArray.empty()) state_.showingPlayAlert.set(true);
  // The columns of a stored recording may differ in length.
  if (recording.modifierArray.size() < fewestEvents || recording.timestampArray.empty()) return;
  const double first = recording.timestampArray.front();
  capture_.recordingTime = recording.timestampArray.back() - first;
  const std::size_t count = recording.timestampArray.size();
  Run& run = beginRun(nullptr, count);
  for (std::size_t i = 0; i < count; ++i) {
    services_.trace.writeNumber(i);
    schedule(run, i, recording.timestampArray[i] - first);
  }
}

PlaybackScheduler::Run& PlaybackScheduler::beginRun(std::shared_ptr<const EventLog::Events> events,
                                                    std::size_t count) {
  // Only the latest run's timers are in the state, and only while it is pending they are needed.
  if (!runs_.empty() && runs_.back()->timers.empty()) {
    runs_.back()->timers.swap(state_.timerArray);
  }
  state_.timerArray.clear();
  state_.timerArray.reserve(count);
  runs_.push_back(std::make_unique<Run>(
      Run{*this, std::move(events), services_.eventSynthesis.beginPosting(), count}));
  return *runs_.back();
}

void PlaybackScheduler::schedule(Run& run, std::size_t index, double offset) {
  const double delay = offset / playbackDivisor(settings_.playbackSpeed.get());
  state_.timerArray.push_back(services_.runLoop.scheduledTimerWithTimeInterval(
      delay, TimerRepeats::no, [&run, index](const TimerRef&) { run.scheduler.fire(run, index); }));
  // The time stamps of a stored recording need not be in order.
  lastDeadline_ = std::max(lastDeadline_, state_.timerArray.back()->deadline());
}

void PlaybackScheduler::fire(Run& run, std::size_t index) {
  if (run.events) {
    synthesizer_.postLoggedEvent((*run.events)[index]);
  } else {
    synthesizer_.postRecordedEvent(state_.loadedRecording, index);
  }
  if (--run.pending > 0) return;
  std::erase_if(runs_, [&](const auto& known) { return known.get() == &run; });
}

void PlaybackScheduler::stopPlayback() {
  services_.trace.writeLine("Escape Key Pressed");
  if (capture_.isPlaying.get()) endPlayback(state_.repeatTimer);
}

void PlaybackScheduler::endPlayback(const TimerRef& cycleTimer) {
  if (state_.ESCwindow) state_.ESCwindow->close();
  services_.trace.writeNumber(capture_.eventLog.size());
  services_.trace.writeNumber(state_.timerArray.size());
  for (std::size_t i = 0; i < state_.timerArray.size(); ++i) {
    services_.trace.writeNumber(i);
    state_.timerArray[i]->invalidate();
  }
  if (!runs_.empty() && runs_.back()->timers.empty()) runs_.pop_back();
  if (cycleTimer) cycleTimer->invalidate();
  capture_.isPlaying.set(false);
  settings_.playCount.set(0);
}

void PlaybackScheduler::isPlayingChanged() {
  services_.trace.writeLine("isPlaying");
  if (capture_.isPlaying.get()) {
    lastDeadline_ = longAgo;
    session_ = services_.eventSynthesis.beginPosting();
    state_.ESCwindow =
        openIndicatorWindow(services_.windows, std::make_shared<EscapeWindow>(),
                            {state_.widthScreen * 0.5 - hintHalfWidth, capture_.heightScreen});
  } else {
    if (state_.ESCwindow) state_.ESCwindow->close();
    session_.reset();
  }
}

}  // namespace tapeloop
