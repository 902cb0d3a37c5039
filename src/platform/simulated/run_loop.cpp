#include "platform/simulated/run_loop.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tapeloop::simulated {
namespace {

constexpr double nanosecondsPerSecond = 1e9;

}  // namespace

TimerRef VirtualRunLoop::scheduledTimerWithTimeInterval(double interval, TimerRepeats repeats,
                                                        TimerBlock block) {
  return timers_.schedule(now_, interval, repeats, std::move(block));
}

double VirtualRunLoop::now() const {
  return static_cast<double>(now_) / nanosecondsPerSecond;
}

double VirtualRunLoop::date() const {
  return startDate_ + now();
}

void VirtualRunLoop::advance(double seconds) {
  const std::int64_t end = now_ + std::llround(seconds * nanosecondsPerSecond);
  for (auto next = timers_.nextDeadline(); next && *next <= end; next = timers_.nextDeadline()) {
    now_ = std::max(now_, *next);
    timers_.beginPass();
    while (timers_.fireNext(now_)) {
    }
  }
  now_ = std::max(now_, end);
}

}  // namespace tapeloop::simulated
