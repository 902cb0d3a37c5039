#pragma once

#include <functional>

#include "platform/timer_queue.h"

namespace tapeloop {

/// Calendar time, for what is shown to people. Nothing is timed by it.
class Clock {
 public:
  virtual ~Clock() = default;
  /// Seconds since 1970-01-01 00:00 UTC.
  [[nodiscard]] virtual double date() const = 0;
};

/// The timers of the main run loop. Everything in the program runs on its thread, one block after
/// the other.
class RunLoop {
 public:
  virtual ~RunLoop() = default;

  /// Fires `interval` seconds from now, once or again and again. Timers that are created in one
  /// turn of the loop count from the same instant, so their distances are exact; those created by
  /// the block of a repeating timer count from when that was due. Stays alive until it is spent or
  /// invalidated, whether or not the caller keeps it.
  virtual TimerRef scheduledTimerWithTimeInterval(double interval, TimerRepeats repeats,
                                                  TimerBlock block) = 0;

  /// Timers that are created in the rest of this turn count from now, and what the turn has done so
  /// far delays none of them.
  virtual void takeTime() = 0;

  /// Runs `block` once, `delay` seconds from now. Can't be cancelled.
  void dispatchAfter(double delay, std::function<void()> block) {
    scheduledTimerWithTimeInterval(delay, TimerRepeats::no,
                                   [block = std::move(block)](const TimerRef&) { block(); });
  }
};

}  // namespace tapeloop
