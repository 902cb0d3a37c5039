#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/run_loop.h"
#include "platform/timer_queue.h"

namespace tapeloop::simulated {

/// A run loop whose clock is advanced by hand.
class VirtualRunLoop final : public RunLoop, public Clock {
 public:
  TimerRef scheduledTimerWithTimeInterval(double interval, TimerRepeats repeats,
                                          TimerBlock block) override;
  void takeTime() override { turn_ = now_; }
  [[nodiscard]] double date() const override;

  /// Advances the clock by `seconds`, stopping at each deadline on the way to fire what is due,
  /// including what is due at the end.
  void advance(double seconds);
  /// Simulates that the current turn takes so long: timers that come due meanwhile fire late.
  /// Otherwise turns take no time.
  void stall(double seconds);

  /// Seconds since this was created.
  [[nodiscard]] double now() const;
  /// Calendar time at the start.
  void setStartDate(double secondsSince1970) { startDate_ = secondsSince1970; }
  [[nodiscard]] const TimerQueue& timers() const { return timers_; }

 private:
  TimerQueue timers_;
  std::int64_t now_ = 0;   // nanoseconds
  std::int64_t turn_ = 0;  // the time from which timers of this turn count
  double startDate_ = 0;
};

}  // namespace tapeloop::simulated
