#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "figures.h"
#include "support/x11_desktop.h"
#include "support/x_events.h"
#include "support/x_server.h"
#include "support/x_user.h"

// How exactly a recording is replayed: by how much each event's offset from the start of the run
// differs from the recorded one, as an independent client sees it, with the median shift of the
// whole run taken out. Beside it a bare timerfd loop that posts the same list through XTEST.

namespace {

using namespace std::chrono_literals;
using namespace tapeloop;
using std::chrono::nanoseconds;

constexpr double medianLimit = 2;
constexpr double tailLimit = 3;

/// A pointer that wanders, with gaps of 2 to 12 ms between the moves.
struct Walk {
  std::vector<support::XAction> actions;
  std::vector<InputEvent> events;
};

Walk makeWalk(std::size_t count, int screenHeight) {
  // The same list in every run of the program, so that figures can be compared.
  std::mt19937 random(20'240);
  std::uniform_int_distribution<std::int64_t> gap(2'000'000, 12'000'000);
  std::uniform_int_distribution<int> place(10, 700);
  Walk walk;
  nanoseconds offset{0};
  for (std::size_t i = 0; i < count; ++i) {
    const int x = place(random);
    const int y = place(random);
    walk.actions.push_back({support::XEventKind::motion, 0, static_cast<std::int16_t>(x),
                            static_cast<std::int16_t>(y), offset});
    InputEvent event;
    event.timestamp = 1000 + std::chrono::duration<double>(offset).count();
    event.locationInWindow = {double(x), double(screenHeight - y)};
    walk.events.push_back(event);
    offset += nanoseconds(gap(random));
  }
  return walk;
}

/// Microseconds by which each event was off, in any direction.
std::vector<double> errors(const support::XEventList::Events& seen,
                           const std::vector<support::XAction>& wanted, double speed) {
  std::vector<double> shifts;
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    if (seen[i].rootX != wanted[i].x || seen[i].rootY != wanted[i].y) {
      throw std::runtime_error("event " + std::to_string(i) + " came somewhere else");
    }
    shifts.push_back((static_cast<double>(seen[i].arrival - seen[0].arrival) -
                      static_cast<double>(wanted[i].offset.count()) / speed) /
                     1000);
  }
  const double shift = bench::quantile(shifts, 0.5);
  for (double& value : shifts) value = std::abs(value - shift);
  return shifts;
}

class Comparison {
 public:
  bool run(std::size_t count, double speed, int rounds) {
    const Walk walk = makeWalk(count, options_.height);
    const auto length =
        std::chrono::duration_cast<std::chrono::milliseconds>(walk.actions.back().offset / speed);
    auto paced = walk.actions;
    for (auto& action : paced) {
      action.offset = nanoseconds(std::llround(static_cast<double>(action.offset.count()) / speed));
    }
    std::vector<double> ours;
    std::vector<double> floor;
    desktop_.setLog(walk.events);
    for (int round = 0; round < rounds; ++round) {
      collect(floor, walk, speed, [&] { poster_.run(paced); });
      collect(ours, walk, speed, [&] {
        if (!desktop_.playLog(speed, length + 20s)) throw std::runtime_error("no end of playback");
      });
    }
    const std::string name =
        "replay of " + std::to_string(count) + " events at " + std::to_string(int(speed)) + "x, ";
    const bool medianMet = bench::report(name + "median", bench::quantile(ours, 0.5),
                                         bench::quantile(floor, 0.5), "us", medianLimit);
    const bool tailMet = bench::report(name + "p99", bench::quantile(ours, 0.99),
                                       bench::quantile(floor, 0.99), "us", tailLimit);
    return medianMet && tailMet;
  }

 private:
  template <typename Run>
  void collect(std::vector<double>& into, const Walk& walk, double speed, const Run& run) {
    observer_.clear();
    run();
    if (!observer_.waitFor(walk.actions.size(), 10s))
      throw std::runtime_error("events are missing");
    const auto off = errors(observer_.events(), walk.actions, speed);
    into.insert(into.end(), off.begin(), off.end());
  }

  support::XServerOptions options_;
  support::XServer server_{options_};
  support::XUser poster_{server_.display()};
  support::XObserver observer_{server_.display()};
  support::X11Desktop desktop_{server_.display()};
};

bool run(bool quick) {
  Comparison comparison;
  bool met = comparison.run(1'000, 1, quick ? 1 : 3);
  met &= comparison.run(1'000, 10, 5);
  met &= comparison.run(10'000, 10, quick ? 1 : 2);
  if (!quick) met &= comparison.run(10'000, 1, 1);
  return met;
}

}  // namespace

// With "--quick" the run of 10,000 events at 1x, of more than two minutes, is left out.
int main(int count, char** arguments) {
  const bool quick = count > 1 && std::strcmp(arguments[1], "--quick") == 0;
  return tapeloop::bench::exitStatusOf([quick] { return run(quick); });
}
