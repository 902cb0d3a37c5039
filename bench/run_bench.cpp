// What a run of a million events costs until its first event is posted: the timers, the printed
// index of each, and the memory of those that are pending.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <fcntl.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include "controller/content_view.h"
#include "figures.h"
#include "platform/simulated/simulated_desktop.h"
#include "platform/system/run_loop.h"
#include "platform/system/trace.h"

namespace tapeloop::bench {
namespace {

constexpr double secondsLimit = 0.4;  // for a million
constexpr double bytesLimit = 200;
constexpr int rounds = 5;

std::size_t residentPages() {
  std::size_t size = 0;
  std::size_t resident = 0;
  if (FILE* statistics = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(statistics, "%zu %zu", &size, &resident) != 2) resident = 0;
    std::fclose(statistics);
  }
  return resident;
}

struct Cost {
  double milliseconds;
  double bytes;  // a timer
};

/// Plays a log of `count` events an hour long, so that hardly any is due, and stops.
Cost schedule(std::size_t count) {
  const int file = ::open("/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  system::EpollRunLoop runLoop;
  system::StandardOutputTrace trace(runLoop, file);
  simulated::SimulatedDesktop desktop;
  const Desktop services{runLoop,
                         desktop.runLoop,
                         trace,
                         desktop.defaults,
                         desktop.permission,
                         desktop.inputMonitor,
                         desktop.eventSynthesis,
                         desktop.screens,
                         desktop.windows,
                         desktop.review,
                         desktop.workspace,
                         desktop.mainMenu,
                         desktop.hotKeys,
                         desktop.keyboardLayouts,
                         desktop.notifications};
  Settings settings(desktop.defaults);
  ContentView view(services, settings);
  view.onAppear();
  CaptureState& state = view.captureState();
  for (std::size_t i = 0; i < count; ++i) {
    InputEvent event;
    event.timestamp = 1000 + 3600.0 * static_cast<double>(i) / static_cast<double>(count);
    state.eventLog.append(event);
  }
  state.recordingType.set(recording_type::unsaved);
  state.recordingTime = 3600;

  runLoop.dispatch();
  const std::size_t pagesBefore = residentPages();
  const auto begin = std::chrono::steady_clock::now();
  view.playButtonPressed();
  const double milliseconds =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
  // After the buffer of the trace is written, the memory in use is that of the timers.
  runLoop.endTurn();
  malloc_trim(0);
  const auto pages = static_cast<double>(residentPages() - pagesBefore);
  view.escapeKeyPressed();
  runLoop.endTurn();
  ::close(file);
  return {milliseconds,
          pages * static_cast<double>(::sysconf(_SC_PAGESIZE)) / static_cast<double>(count)};
}

/// The same in a process of its own, like the first run of a program: otherwise the allocator would
/// hand out what is left of the round before.
Cost scheduleInChild(std::size_t count) {
  int ends[2];
  Cost cost{};
  if (::pipe(ends) != 0) return cost;
  if (::fork() == 0) {
    cost = schedule(count);
    ::_exit(::write(ends[1], &cost, sizeof cost) == sizeof cost ? 0 : 1);
  }
  ::close(ends[1]);
  if (::read(ends[0], &cost, sizeof cost) != sizeof cost) std::abort();
  ::close(ends[0]);
  ::wait(nullptr);
  return cost;
}

}  // namespace
}  // namespace tapeloop::bench

int main() {
  using namespace tapeloop::bench;
  bool good = true;
  for (const std::size_t count :
       {std::size_t{10'000}, std::size_t{100'000}, std::size_t{1'000'000}}) {
    std::vector<double> milliseconds;
    std::vector<double> bytes;
    for (int round = 0; round < rounds; ++round) {
      const Cost cost = scheduleInChild(count);
      milliseconds.push_back(cost.milliseconds);
      bytes.push_back(cost.bytes);
    }
    const double median = quantile(milliseconds, 0.5);
    const std::string name = std::to_string(count) + " events: ";
    std::printf("%s%.0f ns a timer\n", name.c_str(), median * 1e6 / static_cast<double>(count));
    if (count < 1'000'000) continue;
    good &= report(name + "scheduling", median, secondsLimit * 1000, "ms", 1);
    good &= report(name + "memory of a timer", quantile(bytes, 0.5), bytesLimit, "B", 1);
  }
  return good ? 0 : 1;
}
