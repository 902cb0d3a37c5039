#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace tapeloop {

class Timer;
using TimerRef = std::shared_ptr<Timer>;
/// What a timer does when it fires; it receives the timer itself.
using TimerBlock = std::function<void(const TimerRef&)>;

enum class TimerRepeats : std::uint8_t { no, yes };

/// One timer of a `TimerQueue`. A timer that was made alone is on no queue and does nothing.
class Timer : public std::enable_shared_from_this<Timer> {
 public:
  Timer() = default;
  /// The block is destroyed when the timer is spent or invalidated.
  Timer(std::int64_t interval, TimerRepeats repeats, TimerBlock block);

  /// Runs the block now. A one-shot timer is spent by it; a repeating one keeps its schedule.
  void fire();
  /// The timer never fires again.
  void invalidate();
  [[nodiscard]] bool isValid() const { return static_cast<bool>(block_) || running_; }
  /// When it is due or, once it has fired, was due last: nanoseconds on the clock of its queue.
  [[nodiscard]] std::int64_t deadline() const { return deadline_; }
  /// For the trace: "Timer every 3.5 s", "Timer after 2 s, invalid".
  [[nodiscard]] std::string description() const;

 private:
  friend class TimerQueue;

  TimerBlock block_;           // empty: spent, invalidated or running
  std::int64_t interval_ = 0;  // nanoseconds
  std::int64_t deadline_ = 0;
  TimerRepeats repeats_ = TimerRepeats::no;
  bool running_ = false;  // a repeating timer whose block is on the stack
};

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
