#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/run_loop.h"

namespace tapeloop {

/// Timers ordered by deadline, equal deadlines by creation. It reads no clock: callers pass the
/// time, in nanoseconds on a monotonic clock. So the real run loop and the simulated one fire the
/// same timers in the same order.
class TimerQueue {
 public:
  /// The deadline is `now` + `interval` seconds. A negative interval or NaN counts as 0; that of a
  /// repeating timer is at least 0.1 ms. Within the block of a repeating timer the deadline counts
  /// from when that timer was due, if it is at most a second late. So a one-shot timer of the same
  /// interval comes due together with the next tick, however late this one is.
  TimerRef schedule(std::int64_t now, double interval, TimerRepeats repeats, TimerBlock block);

  /// The deadline of the first valid timer. Removes the invalid ones before it.
  [[nodiscard]] std::optional<std::int64_t> nextDeadline();

  /// Starts a pass. Timers that are created from here on fire in the next pass, so that timers that
  /// schedule each other without delay can't keep the loop from serving anything else.
  void beginPass() { passEnd_ = nextSequence_; }
  /// Fires the first timer that is due at `now` and was created before the pass. False if there is
  /// none. A repeating timer that is late by whole intervals skips those.
  bool fireNext(std::int64_t now);

  /// Valid timers and invalidated ones that were not removed yet.
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
  std::optional<Tick> tick_;  // of the repeating timer whose block is running
};

}  // namespace tapeloop
