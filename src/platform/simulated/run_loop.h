#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/run_loop.h"
#include "platform/timer_queue.h"

namespace tapeloop::simulated {

/// A run loop whose clock stands still until it is turned by hand.
class VirtualRunLoop final : public RunLoop, public Clock {
 public:
  TimerRef scheduledTimerWithTimeInterval(double interval, TimerRepeats repeats,
                                          TimerBlock block) override;
  void takeTime() override { turn_ = now_; }
  [[nodiscard]] double date() const override;

  /// Turns the clock to one deadline after the other and fires what is due there, as far as
  /// `seconds` from now, that moment included.
  void advance(double seconds);
  /// The turn that is under way takes so long, and what is due meanwhile is late. Otherwise what a
  /// turn does takes no time.
  void stall(double seconds);

  /// Seconds since this was made.
  [[nodiscard]] double now() const;
  /// Calendar time at the start.
  void setStartDate(double secondsSince1970) { startDate_ = secondsSince1970; }
  [[nodiscard]] const TimerQueue& timers() const { return timers_; }

 private:
  TimerQueue timers_;
  std::int64_t now_ = 0;   // nanoseconds
  std::int64_t turn_ = 0;  // from which the timers count that this turn creates
  double startDate_ = 0;
};

}  // namespace tapeloop::simulated
