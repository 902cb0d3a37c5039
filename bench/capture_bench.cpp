#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "figures.h"
#include "platform/system/handles.h"
#include "platform/system/trace.h"
#include "support/x11_desktop.h"
#include "support/x_events.h"
#include "support/x_server.h"
#include "support/x_user.h"

// Capture of 8,000 events per second, the rate of the fastest mice, for ten seconds: nothing is
// lost, and the processor time stays near that of a client that only reads and keeps the events.

namespace {

using namespace std::chrono_literals;
using namespace tapeloop;

constexpr std::size_t count = 80'000;
constexpr auto gap = 125us;
constexpr double limit = 3;

std::vector<support::XAction> fastPointer() {
  std::vector<support::XAction> actions;
  for (std::size_t i = 0; i < count; ++i) {
    actions.push_back({support::XEventKind::motion, 0, static_cast<std::int16_t>(100 + i % 901),
                       static_cast<std::int16_t>(100 + i % 501), gap * i});
  }
  return actions;
}

/// A file without a name, deleted when it is closed.
system::FileDescriptor scratchFile() {
  const int file = ::open(std::filesystem::temp_directory_path().c_str(),
                          O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
  if (file < 0) throw std::runtime_error("no scratch file");
  return system::FileDescriptor(file);
}

bool run() {
  const support::XServer server;
  const support::XUser poster(server.display());
  const auto actions = fastPointer();

  std::int64_t floorTime = 0;
  std::size_t floorCount = 0;
  {
    const support::XObserver bare(server.display());
    poster.run(actions);
    // On a busy machine the server loses events of the bare reader, which has no workaround for it.
    const bool complete = bare.waitFor(count, 5s);
    floorTime = bare.processorTime();
    floorCount = bare.size();
    if (!complete) std::printf("the bare reader got %zu of %zu events\n", floorCount, count);
  }

  const auto file = scratchFile();
  support::X11Desktop desktop(server.display(), [&](system::EpollRunLoop& loop) {
    return std::make_unique<system::StandardOutputTrace>(loop, file.get());
  });
  const auto start = bench::threadProcessorTime();
  desktop.startCapture();
  const auto& log = desktop.log();
  const auto posting = poster.start(actions);
  const bool inTime = desktop.runUntil([&] { return log.size() >= count; }, 30s);
  desktop.stopCapture();
  const auto ourTime = bench::threadProcessorTime() - start;
  if (!inTime) std::printf("capture was not complete before it was stopped\n");

  std::size_t exact = 0;
  for (std::size_t i = 0; i < std::min(log.size(), count); ++i) {
    const Point place = log[i].locationInWindow;
    const int height = support::XServerOptions{}.height;
    if (place == Point{double(actions[i].x), double(height - actions[i].y)}) ++exact;
  }
  const bool complete =
      bench::reportCount("captured at 8,000 events per second", log.size(), count);
  const bool inOrder = bench::reportCount("captured in order, at the right place", exact, count);
  const bool cheap = bench::report(
      "processor time per captured event", static_cast<double>(ourTime) / 1000 / count,
      static_cast<double>(floorTime) / 1000 / static_cast<double>(floorCount), "us", limit);
  return complete && inOrder && cheap;
}

}  // namespace

int main() {
  return tapeloop::bench::exitStatusOf(run);
}
