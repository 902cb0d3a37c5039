// How exactly the program itself, with its window, records and replays: by how much each event's
// offset from the first differs between what a user did and what the program made of it, both seen
// by an independent client. Beside it two runs of a bare timerfd loop that posts the same list.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <random>
#include <stdexcept>
#include <vector>

#include "figures.h"
#include "support/x_events.h"
#include "window/program.h"

namespace {

using namespace std::chrono_literals;
using namespace tapeloop;

constexpr std::size_t count = 1000;
constexpr double limit = 3;

using Arrivals = std::vector<double>;  // microseconds after the first event

/// A pointer that wanders below `top`, with gaps of 2 to 12 ms.
std::vector<support::XAction> makeWalk(int top) {
  std::mt19937 random(20'240);
  std::uniform_int_distribution<std::int64_t> gap(2'000'000, 12'000'000);
  std::uniform_int_distribution<int> across(10, 1270);
  std::uniform_int_distribution<int> down(top, 790);
  std::vector<support::XAction> walk;
  std::chrono::nanoseconds offset = 500ms;
  for (std::size_t i = 0; i < count; ++i) {
    walk.push_back({support::XEventKind::motion, 0, static_cast<std::int16_t>(across(random)),
                    static_cast<std::int16_t>(down(random)), offset});
    offset += std::chrono::nanoseconds(gap(random));
  }
  return walk;
}

Arrivals arrivals(const support::XEventList::Events& seen,
                  const std::vector<support::XAction>& walk) {
  if (seen.size() < count) throw std::runtime_error("events are missing");
  const auto first = seen.end() - static_cast<std::ptrdiff_t>(count);
  Arrivals result;
  for (std::size_t i = 0; i < count; ++i) {
    const auto& event = first[static_cast<std::ptrdiff_t>(i)];
    if (event.rootX != walk[i].x || event.rootY != walk[i].y) {
      throw std::runtime_error("event " + std::to_string(i) + " came somewhere else");
    }
    result.push_back(static_cast<double>(event.arrival - first->arrival) / 1000);
  }
  return result;
}

std::vector<double> errors(const Arrivals& wanted, const Arrivals& seen) {
  std::vector<double> shifts;
  for (std::size_t i = 0; i < count; ++i) shifts.push_back(seen[i] - wanted[i]);
  const double shift = bench::quantile(shifts, 0.5);
  for (double& value : shifts) value = std::abs(value - shift);
  return shifts;
}

bool run() {
  support::TestDesktop desktop;
  support::Program program(desktop);
  if (!desktop.waitForWindows("Tapeloop", 1)) throw std::runtime_error("the window did not come");
  const auto window = desktop.windows("Tapeloop").front();
  const auto walk = makeWalk(window.y + window.height + 20);
  support::XObserver observer(desktop.server().display());
  const auto post = [&] {
    observer.clear();
    desktop.user().run(walk);
    if (!observer.waitFor(count, 10s)) throw std::runtime_error("events are missing");
    return arrivals(observer.events(), walk);
  };

  const Arrivals bareFirst = post();
  const Arrivals bareSecond = post();
  program.click("Record");
  if (!program.writes("Recording: true")) throw std::runtime_error("no capture began");
  const Arrivals recorded = post();
  program.click("Stop Recording");
  if (!program.writes("Recording: false")) throw std::runtime_error("the capture did not end");
  program.click("Play");
  if (!program.writes("stopped playing")) throw std::runtime_error("no end of playback");
  const auto isLast = [&](const support::XEventList::Events& events) {
    return !events.empty() && events.back().rootX == walk.back().x &&
           events.back().rootY == walk.back().y;
  };
  if (!observer.waitUntil(isLast, 10s)) throw std::runtime_error("the last event is missing");
  const Arrivals replayed = arrivals(observer.events(), walk);

  const auto ours = errors(recorded, replayed);
  const auto floor = errors(bareFirst, bareSecond);
  const bool medianMet =
      bench::report("recorded and replayed by the program, median", bench::quantile(ours, 0.5),
                    bench::quantile(floor, 0.5), "us", limit);
  const bool tailMet =
      bench::report("recorded and replayed by the program, p99", bench::quantile(ours, 0.99),
                    bench::quantile(floor, 0.99), "us", limit);
  return medianMet && tailMet;
}

}  // namespace

int main() {
  return tapeloop::bench::exitStatusOf(run);
}
