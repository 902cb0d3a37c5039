#include "playback/playback_scheduler.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>

#include "capture/indicator_windows.h"

namespace tapeloop {
namespace {

constexpr std::size_t fewestEvents = 2;
constexpr double hintHalfWidth = 90;

// "2026-05-01T12:00:00.000Z"
std::string isoDate(double secondsSince1970) {
  using namespace std::chrono;
  const sys_time<milliseconds> time{milliseconds(std::llround(secondsSince1970 * 1000))};
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(time - day);
  std::array<char, 48> text{};
  const int length = std::snprintf(
      text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ",
      static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
      static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
      static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()),
      static_cast<int>(clock.subseconds().count()));
  return {text.data(), static_cast<std::size_t>(length)};
}

}  // namespace

// What the events of one run share. Owned by the timers of its pending events: when the last one
// has fired or was invalidated, the run is destroyed, which ends its posting session.
struct PlaybackScheduler::Run {
  PlaybackScheduler* scheduler;                    // null: the scheduler is gone
  std::shared_ptr<const EventLog::Events> events;  // null: rows of the loaded recording
  std::shared_ptr<EventSynthesis::PostingSession> session;
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
  for (const auto& known : runs_) {
    if (const auto run = known.lock()) *run = {};
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
    return "Date Interval: " + isoDate(now + first) + " to " + isoDate(now + last);
  });
  capture_.recordingTime = last - first;
  const std::size_t count = log.size();
  const auto run = beginRun(log.events(), count);
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
  const auto run = beginRun(nullptr, count);
  for (std::size_t i = 0; i < count; ++i) {
    services_.trace.writeNumber(i);
    schedule(run, i, recording.timestampArray[i] - first);
  }
}

std::shared_ptr<PlaybackScheduler::Run> PlaybackScheduler::beginRun(
    std::shared_ptr<const EventLog::Events> events, std::size_t count) {
  state_.timerArray.clear();
  state_.timerArray.reserve(count);
  std::erase_if(runs_, [](const auto& known) { return known.expired(); });
  auto run =
      std::make_shared<Run>(Run{this, std::move(events), services_.eventSynthesis.beginPosting()});
  runs_.push_back(run);
  return run;
}

void PlaybackScheduler::schedule(const std::shared_ptr<Run>& run, std::size_t index,
                                 double offset) {
  state_.timerArray.push_back(services_.runLoop.scheduledTimerWithTimeInterval(
      offset / settings_.divisor(), TimerRepeats::no, [run, index](const TimerRef&) {
        if (run->scheduler) run->scheduler->post(*run, index);
      }));
  // The time stamps of a stored recording need not be in order.
  lastDeadline_ = std::max(lastDeadline_, state_.timerArray.back()->deadline());
}

void PlaybackScheduler::post(const Run& run, std::size_t index) {
  if (run.events) {
    synthesizer_.postLoggedEvent((*run.events)[index]);
  } else {
    synthesizer_.postRecordedEvent(state_.loadedRecording, index);
  }
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
