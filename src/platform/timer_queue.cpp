#include "platform/timer_queue.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "platform/number_text.h"

namespace tapeloop {
namespace {

constexpr double nanosecondsPerSecond = 1e9;
constexpr std::int64_t shortestPeriod = 100'000;
// Timers started by a tick that is later than this count from now: after a long stall of the
// program everything it missed would otherwise be due at once.
constexpr std::int64_t mostLateness = 1'000'000'000;
constexpr std::size_t smallestHeap = 64;
// Never reached, and small enough that adding a time to it does not overflow.
constexpr std::int64_t never = std::numeric_limits<std::int64_t>::max() / 4;

std::int64_t toNanoseconds(double seconds) {
  const double nanoseconds = seconds * nanosecondsPerSecond;
  if (!(nanoseconds > 0)) return 0;
  if (nanoseconds >= static_cast<double>(never)) return never;
  return std::llround(nanoseconds);
}

}  // namespace

Timer::Timer(std::int64_t interval, TimerRepeats repeats, TimerBlock block)
    : block_(std::move(block)), interval_(interval), repeats_(repeats) {}

void Timer::fire() {
  if (!block_) return;
  // The block may invalidate the timer or drop the last reference to it; neither the timer nor the
  // block may be destroyed while it runs.
  const TimerRef self = shared_from_this();
  TimerBlock block = std::exchange(block_, nullptr);
  running_ = repeats_ == TimerRepeats::yes;
  block(self);
  if (running_) block_ = std::move(block);
  running_ = false;
}

void Timer::invalidate() {
  running_ = false;
  // Moved out first: destructors of what the block captured may call this again.
  const TimerBlock gone = std::exchange(block_, nullptr);
}

std::string Timer::description() const {
  std::string text = repeats_ == TimerRepeats::yes ? "Timer every " : "Timer after ";
  text.append(NumberText(static_cast<double>(interval_) / nanosecondsPerSecond)).append(" s");
  if (!isValid()) text += ", invalid";
  return text;
}

struct TimerQueue::Later {
  bool operator()(const Entry& a, const Entry& b) const {
    if (a.deadline != b.deadline) return a.deadline > b.deadline;
    return a.sequence > b.sequence;
  }
};

TimerRef TimerQueue::schedule(std::int64_t now, double interval, TimerRepeats repeats,
                              TimerBlock block) {
  std::int64_t nanoseconds = toNanoseconds(interval);
  if (repeats == TimerRepeats::yes) nanoseconds = std::max(nanoseconds, shortestPeriod);
  if (tick_ && tick_->now == now) now = tick_->due;
  auto timer = std::make_shared<Timer>(nanoseconds, repeats, std::move(block));
  timer->deadline_ = now + nanoseconds;
  push({timer->deadline_, nextSequence_++, timer});
  return timer;
}

std::optional<std::int64_t> TimerQueue::nextDeadline() {
  while (!heap_.empty() && !heap_.front().timer->isValid()) pop();
  if (heap_.empty()) return std::nullopt;
  return heap_.front().deadline;
}

bool TimerQueue::fireNext(std::int64_t now) {
  const auto deadline = nextDeadline();
  if (!deadline || *deadline > now || heap_.front().sequence >= passEnd_) return false;
  Entry entry = pop();
  if (entry.timer->repeats_ == TimerRepeats::yes) {
    // Queued again before the block runs, so that `nextDeadline` is right if the block calls it.
    const std::int64_t interval = entry.timer->interval_;
    const std::int64_t missed = (now - entry.deadline) / interval;
    const std::int64_t due = entry.deadline + missed * interval;
    push({due + interval, nextSequence_++, entry.timer});
    if (now - due <= mostLateness) tick_ = Tick{now, due};
    entry.timer->deadline_ = due;
  }
  entry.timer->fire();
  tick_.reset();
  return true;
}

void TimerQueue::push(Entry entry) {
  // Invalid timers are removed when they reach the front, or here before the vector would grow.
  // Without that, stopping long runs again and again would keep all their timers until they are
  // due.
  if (heap_.size() == heap_.capacity()) {
    const auto dropped =
        std::erase_if(heap_, [](const Entry& known) { return !known.timer->isValid(); });
    if (dropped > 0) {
      std::make_heap(heap_.begin(), heap_.end(), Later{});
    } else {
      heap_.reserve(std::max(smallestHeap, heap_.size() + heap_.size() / 2));
    }
  }
  heap_.push_back(std::move(entry));
  std::push_heap(heap_.begin(), heap_.end(), Later{});
}

TimerQueue::Entry TimerQueue::pop() {
  std::pop_heap(heap_.begin(), heap_.end(), Later{});
  Entry entry = std::move(heap_.back());
  heap_.pop_back();
  return entry;
}

}  // namespace tapeloop
