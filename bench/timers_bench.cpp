// Scheduling and firing one-shot timers whose closures take 32 bytes, and what each of them holds
// in memory while it is pending.
#include <array>
#include <cstdint>
#include <fstream>
#include <memory>

#include <benchmark/benchmark.h>
#include <unistd.h>

#include "platform/system/run_loop.h"

namespace {

using namespace tapeloop;

std::size_t residentBytes() {
  std::size_t total = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

void scheduleAll(tapeloop::system::EpollRunLoop& loop, std::int64_t count, std::int64_t& fired) {
  for (std::int64_t i = 0; i < count; ++i) {
    const std::array<std::int64_t, 3> payload{i, i, i};
    loop.scheduledTimerWithTimeInterval(
        static_cast<double>(i) * 1e-9, TimerRepeats::no,
        [payload, &fired](const TimerRef&) { fired += payload[0] >= 0; });
  }
}

/// A loop of its own each time: the first run of a program has no memory to use again.
void scheduleTimers(benchmark::State& state) {
  double bytes = 0;
  for (auto _ : state) {
    state.PauseTiming();
    auto loop = std::make_unique<tapeloop::system::EpollRunLoop>();
    std::int64_t fired = 0;
    const std::size_t before = residentBytes();
    state.ResumeTiming();
    scheduleAll(*loop, state.range(0), fired);
    state.PauseTiming();
    bytes = static_cast<double>(residentBytes()) - static_cast<double>(before);
    loop.reset();
    state.ResumeTiming();
  }
  const auto count = static_cast<double>(state.range(0));
  state.counters["bytes/timer"] = bytes / count;
  state.counters["s/timer"] = benchmark::Counter(
      count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(scheduleTimers)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

void fireTimers(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    tapeloop::system::EpollRunLoop loop;
    std::int64_t fired = 0;
    scheduleAll(loop, state.range(0), fired);
    state.ResumeTiming();
    while (fired < state.range(0)) loop.dispatch();
  }
  state.counters["s/timer"] = benchmark::Counter(
      static_cast<double>(state.range(0)),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(fireTimers)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

}  // namespace
