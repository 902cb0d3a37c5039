#include "platform/simulated/run_loop.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tapeloop::simulated {
namespace {

constexpr double nanosecondsPerSecond = 1e9;
// Timers that keep scheduling each other without delay would stop the clock, which advances only
// from deadline to deadline. After so many passes at one instant it is moved on a little.
constexpr int mostPassesPerInstant = 1000;
constexpr std::int64_t shortestStep = 100'000;

}  // namespace

TimerRef VirtualRunLoop::scheduledTimerWithTimeInterval(double interval, TimerRepeats repeats,
                                                        TimerBlock block) {
  return timers_.schedule(turn_, interval, repeats, std::move(block));
}

double VirtualRunLoop::now() const {
  return static_cast<double>(now_) / nanosecondsPerSecond;
}

double VirtualRunLoop::date() const {
  return startDate_ + now();
}

void VirtualRunLoop::stall(double seconds) {
  now_ += std::llround(seconds * nanosecondsPerSecond);
}

void VirtualRunLoop::advance(double seconds) {
  const std::int64_t end = now_ + std::llround(seconds * nanosecondsPerSecond);
  int passes = 0;
  for (auto next = timers_.nextDeadline(); next && *next <= end; next = timers_.nextDeadline()) {
    passes = *next > now_ ? 0 : passes + 1;
    now_ = std::max(now_, *next);
    if (passes > mostPassesPerInstant) now_ += shortestStep;
    takeTime();
    timers_.beginPass();
    while (timers_.fireNext(now_)) {
    }
  }
  now_ = std::max(now_, end);
  takeTime();
}

}  // namespace tapeloop::simulated
