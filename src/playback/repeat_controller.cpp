#include "playback/repeat_controller.h"

#include <cmath>
#include <string>
#include <string_view>

namespace tapeloop {
namespace {

// For a repeating recording without any duration: often enough to go unnoticed, seldom enough to
// leave the desktop usable.
constexpr double shortestCycle = 0.01;

bool equalsIntegerPart(std::int64_t count, double number) {
  constexpr double limit = 9'223'372'036'854'775'808.0;  // 2 to the power of 63
  if (!(std::abs(number) < limit)) return false;         // not finite either
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
  // To bring the hint on screen takes several events' time. The run begins after that: otherwise
  // its first events would all be late, and come at once.
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

// The period is settled by the play action, and a run may last longer: another recording was
// loaded, or the speed lowered. Runs on top of each other would pile up, and Escape cancels the
// latest one alone.
void RepeatController::tick(const TimerRef& cycleTimer, PlayVariant variant) {
  if (!isRunUnderWay(cycleTimer)) beginCycle(cycleTimer, variant);
}

bool RepeatController::isRunUnderWay(const TimerRef& cycleTimer) const {
  // However late the tick comes, what counts is when it was due. Without a wait that is when the
  // last event is due: the next run follows, unless repeating was turned off and the end of this
  // run, which comes at the same moment too, is the end of playback.
  const std::int64_t due = cycleTimer->deadline();
  return settings_.repeatPlayback.get() ? scheduler_.lastDeadline() > due
                                        : scheduler_.lastDeadline() >= due;
}

void RepeatController::beginCycle(const TimerRef& cycleTimer, PlayVariant variant) {
  Trace& trace = services_.trace;
  trace.writeLine("repeating now");
  trace.writeLine("Play button pressed");
  if (variant == PlayVariant::button) trace.writeNumber(settings_.playCount.get());
  trace.writeLine("playingTimer");
  services_.runLoop.scheduledTimerWithTimeInterval(
      runDuration(), TimerRepeats::no,
      [this, alive = std::weak_ptr(alive_), cycleTimer](const TimerRef&) {
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
  // Escape cut this run short, and by now another playback may be on. That one goes on until a run
  // of its own ends, also if this one has brought the count there.
  if (cycleTimer != state_.repeatTimer) return;
  if (countReached_ && capture_.isPlaying.get()) scheduler_.endPlayback(cycleTimer);
  // Repeating may have been turned off half-way, or on too late: a cycle timer that is spent starts
  // no further run.
  if (settings_.repeatPlayback.get() && cycleTimer->isValid()) return;
  cycleTimer->invalidate();
  capture_.isPlaying.set(false);
}

}  // namespace tapeloop
