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

/// One timer of a run loop. A default-constructed one never fires.
class Timer : public std::enable_shared_from_this<Timer> {
 public:
  Timer() = default;
  /// The block is destroyed when the timer is invalidated or, if one-shot, has fired.
  Timer(std::int64_t interval, TimerRepeats repeats, TimerBlock block);

  /// Runs the block now. A one-shot timer does not fire again then; a repeating one keeps its
  /// schedule.
  void fire();
  /// The timer never fires again.
  void invalidate();
  [[nodiscard]] bool isValid() const { return static_cast<bool>(block_) || running_; }
  /// When it is due or, while and after it has fired, was due: nanoseconds on the loop's clock.
  [[nodiscard]] std::int64_t deadline() const { return deadline_; }
  /// For the trace: "Timer every 3.5 s", "Timer after 2 s, invalid".
  [[nodiscard]] std::string description() const;

 private:
  friend class TimerQueue;

  TimerBlock block_;           // empty: has fired, was invalidated or is running
  std::int64_t interval_ = 0;  // nanoseconds
  std::int64_t deadline_ = 0;
  TimerRepeats repeats_ = TimerRepeats::no;
  bool running_ = false;  // repeating, and its block is being called
};

/// Calendar time, for display only: it may jump.
class Clock {
 public:
  virtual ~Clock() = default;
  /// Seconds since 1970-01-01 00:00 UTC.
  [[nodiscard]] virtual double date() const = 0;
};

/// The main run loop, as far as code without a system sees it: timers.
class RunLoop {
 public:
  virtual ~RunLoop() = default;

  /// Fires `interval` seconds from now, once or repeatedly. All timers that are created in one turn
  /// of the loop count from the same instant, so that the distances between them are exact; those
  /// created by the block of a repeating timer count from when that was due. The loop keeps the
  /// timer until it has fired or is invalidated.
  virtual TimerRef scheduledTimerWithTimeInterval(double interval, TimerRepeats repeats,
                                                  TimerBlock block) = 0;

  /// Timers that are created in the rest of this turn count from now instead of from the beginning
  /// of the turn.
  virtual void takeTime() = 0;

  /// Runs `block` once, `delay` seconds from now. Can't be cancelled.
  void dispatchAfter(double delay, std::function<void()> block) {
    scheduledTimerWithTimeInterval(delay, TimerRepeats::no,
                                   [block = std::move(block)](const TimerRef&) { block(); });
  }
};

}  // namespace tapeloop
