#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <memory_resource>
#include <optional>
#include <string>
#include <vector>

#include "platform/timer_block.h"

namespace tapeloop {

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

/// Timers in order of their deadlines; equal deadlines in order of creation. The time is always
/// handed in, in nanoseconds on a clock that never goes back, so that a real run loop and a virtual
/// clock fire the same timers in the same order.
class TimerQueue {
 public:
  /// `memory` is asked for large pieces only. It outlives the queue and every timer of it.
  explicit TimerQueue(std::pmr::memory_resource& memory = *std::pmr::new_delete_resource());

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
  class Pool;
  struct Orphan {
    void operator()(Pool* pool) const;
  };

  void push(Entry entry);
  Entry pop();

  std::unique_ptr<Pool, Orphan> pool_;  // stays for timers that outlive the queue
  std::pmr::vector<Entry> heap_;
  std::uint64_t nextSequence_ = 0;
  std::uint64_t passEnd_ = 0;
  std::optional<Tick> tick_;  // while the block of a repeating timer runs
};

}  // namespace tapeloop
