#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/run_loop.h"

namespace tapeloop {

/// Timers in order of their deadlines; equal deadlines in order of creation. The time is always
/// handed in, in nanoseconds on a clock that never goes back, so that a real run loop and a virtual
/// clock fire the same timers in the same order.
class TimerQueue {
 public:
  /// The deadline is `now` + `interval` seconds. An interval that is negative or not a number
  /// counts as 0; one of a repeating timer is at least 0.1 ms. What the block of a repeating timer
  /// schedules counts from when that was due, unless it is very late: what it starts again and
  /// again keeps its place among the ticks that follow.
  TimerRef schedule(std::int64_t now, double interval, TimerRepeats repeats, TimerBlock block);

  /// The deadline of the first valid timer. Drops invalid ones that stand before it.
  [[nodiscard]] std::optional<std::int64_t> nextDeadline();

  /// Starts a pass: timers created from here on wait for the next pass, so that a timer that
  /// schedules another one without a delay cannot hold up the loop.
  void beginPass() { passEnd_ = nextSequence_; }
  /// Fires the first timer that is due at `now` and older than the pass. False when there is none.
  /// A repeating timer that is late by whole intervals skips those.
  bool fireNext(std::int64_t now);

  /// Valid timers and those that were invalidated but not yet dropped.
  [[nodiscard]] std::size_t size() const { return heap_.size(); }

 private:
  struct Entry {
    std::int64_t deadline;
    std::uint64_t sequence;
    TimerRef timer;
  };
  struct Later;
  struct Tick {
    std::int64_t now;
    std::int64_t due;
  };

  void push(Entry entry);
  Entry pop();

  std::vector<Entry> heap_;
  std::uint64_t nextSequence_ = 0;
  std::uint64_t passEnd_ = 0;
  std::optional<Tick> tick_;  // while the block of a repeating timer runs
};

}  // namespace tapeloop
