#include "playback/repeat_controller.h"

#include <cmath>
#include <string>

namespace tapeloop {
namespace {

// The period of a repeating recording without duration. With a shorter one the desktop is hardly
// usable.
constexpr double shortestCycle = 0.01;

bool equalsIntegerPart(std::int64_t count, double number) {
  constexpr double limit = 9'223'372'036'854'775'808.0;  // 2 to the power of 63
  if (!(std::abs(number) < limit)) return false;         // or NaN
  return count == static_cast<std::int64_t>(number);
}

}  // namespace

RepeatController::RepeatController(CaptureState& capture, PlaybackState& state,
                                   const PlaybackSettings& settings,
                                   const PlaybackServices& services, PlaybackScheduler& scheduler)
    : capture_(capture),
      state_(state),
      settings_(settings),
      services_(services),
      scheduler_(scheduler) {}

RepeatController::~RepeatController() {
  if (state_.repeatTimer) state_.repeatTimer->invalidate();
}

void RepeatController::startPlayback(PlayVariant variant) {
  Trace& trace = services_.trace;
  settings_.playCount.set(0);
  countReached_ = false;
  if (!hasSomethingToPlay()) {
    state_.showingPlayAlert.set(true);
    return;
  }
  if (variant == PlayVariant::button) {
    trace.writeLine("play button pressed");
    trace.writeLine([&] {
      return "Wait " + std::to_string(settings_.waittimenumber.get()) + " " +
             settings_.waittimeunit.get();
    });
  } else {
    trace.writeLine("play shortcut pressed");
  }
  updateWaitTime();
  if (capture_.isPlaying.get()) return;
  capture_.isPlaying.set(true);
  // Showing the hint takes longer than the first events of a run are apart. If the run counted from
  // before that, they would all be late and be posted at once.
  if (state_.ESCwindow) state_.ESCwindow->display();
  services_.runLoop.takeTime();

  trace.writeLine(
      [&] { return state_.repeatTimer ? state_.repeatTimer->description() : "repeatTimer"; });
  if (variant == PlayVariant::shortcut) {
    trace.writeNumber(settings_.playbackSpeed.get());
  }

  const bool repeats = settings_.repeatPlayback.get();
  double period = runDuration() + state_.waitTime;
  if (repeats && !(period > 0)) period = shortestCycle;
  state_.repeatTimer = services_.runLoop.scheduledTimerWithTimeInterval(
      period, repeats ? TimerRepeats::yes : TimerRepeats::no,
      [this, variant](const TimerRef& cycleTimer) { tick(cycleTimer, variant); });
  state_.repeatTimer->fire();
}

bool RepeatController::hasSomethingToPlay() const {
  const std::string& type = capture_.recordingType.get();
  if (type == recording_type::unsaved) return !capture_.eventLog.empty();
  if (type == recording_type::saved) return !state_.loadedRecording.modifierArray.empty();
  return false;
}

void RepeatController::updateWaitTime() {
  if (!settings_.waitBeforeRepeating.get()) {
    state_.waitTime = 0;
    return;
  }
  const auto number = static_cast<double>(settings_.waittimenumber.get());
  const std::string& unit = settings_.waittimeunit.get();
  if (unit == "seconds") {
    state_.waitTime = number;
  } else if (unit == "minutes") {
    state_.waitTime = number * 60;
  } else if (unit == "hours") {
    state_.waitTime = number * 60 * 60;
  }
}

double RepeatController::runDuration() const {
  return capture_.recordingTime / settings_.divisor();
}

void RepeatController::tick(const TimerRef& cycleTimer, PlayVariant variant) {
  // The period is fixed by the play action, but a run may last longer: another recording may have
  // been loaded, or the speed lowered. Overlapping runs would pile up, and Escape could cancel only
  // the latest one. So a tick is skipped if the last event is due later than it, however late the
  // tick itself is. Without a wait both are due at the same time; then the next run follows, unless
  // repeating was turned off: the end of the run, due at that time too, ends playback.
  const std::int64_t due = cycleTimer->deadline();
  const std::int64_t last = scheduler_.lastDeadline();
  if (settings_.repeatPlayback.get() ? last > due : last >= due) return;
  Trace& trace = services_.trace;
  trace.writeLine("repeating now");
  trace.writeLine("Play button pressed");
  if (variant == PlayVariant::button) trace.writeNumber(settings_.playCount.get());
  trace.writeLine("playingTimer");
  services_.runLoop.dispatchAfter(runDuration(), [this, alive = std::weak_ptr(alive_), cycleTimer] {
    if (!alive.expired()) finishRun(cycleTimer);
  });
  if (!capture_.isRecording.get()) scheduler_.playRecording();
}

void RepeatController::finishRun(const TimerRef& cycleTimer) {
  Trace& trace = services_.trace;
  trace.writeLine("stopped playing");
  settings_.playCount.set(settings_.playCount.get() + 1);
  const std::int64_t count = settings_.playCount.get();
  trace.writeNumber(count);
  if (equalsIntegerPart(count, settings_.timesToRepeat.get())) {
    trace.writeLine("STOP!!!");
    countReached_ = true;
  }
  // Escape has ended the playback of this run, and another one may be active. That ends only when a
  // run of its own has ended, even if this one has made the count reach its limit.
  if (cycleTimer != state_.repeatTimer) return;
  if (countReached_ && capture_.isPlaying.get()) scheduler_.endPlayback(cycleTimer);
  // Repeating may have been turned off since. If it was turned on after a start without it, the
  // cycle timer is one-shot and starts no further run.
  if (settings_.repeatPlayback.get() && cycleTimer->isValid()) return;
  cycleTimer->invalidate();
  capture_.isPlaying.set(false);
}

}  // namespace tapeloop
