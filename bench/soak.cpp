// Whether the program stays as it is while it is used: a user records and plays on a virtual
// display, again and again, for the seconds that the argument tells (an hour without one).
//
// It fails when
// - a playback does not bring back every event of the recording, as an independent client sees it;
// - the last playbacks keep time worse than the first: their median error, as a multiple of that of
//   the bare loop that stands in for the user in the same round, is more than half as large again
//   and 0.5 above what it was;
// - resident memory, of the program or of the X server that holds its windows and pictures, is not
//   flat: the median of the last quarter lies both 2 % and 1 MB above that of the second;
// - there are more descriptors, threads or windows in the end than after the first quarter.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "figures.h"
#include "support/x_events.h"
#include "window/program.h"

namespace {

using namespace std::chrono_literals;
using namespace tapeloop;
using support::Role;
using support::XEventKind;
using support::XEventList;
using Clock = std::chrono::steady_clock;

constexpr double timeRatio = 1.5;
constexpr double timeMargin = 0.5;
constexpr double memoryRatio = 1.02;
constexpr double memoryMargin = 1024;  // kB

constexpr int eventsOfClick = 3;  // the pointer comes to the button, a press, a release

struct Sample {
  double program = 0;  // kB resident
  double server = 0;   // kB resident
  std::size_t descriptors = 0;
  std::size_t threads = 0;
  std::size_t windows = 0;  // of all clients
};

/// The medians of all events, in microseconds.
struct Round {
  bool same = false;
  double error = 0;  ///< Of what was played, against what was recorded.
  double floor = 0;  ///< Of the user, against what was meant.
  [[nodiscard]] double ratio() const { return floor > 0 ? error / floor : INFINITY; }
};

/// The median by which events are off their time, after taking out the shift of them all.
template <typename Wanted>
double medianError(const XEventList::Events& events, const Wanted& wanted) {
  std::vector<double> shifts;
  for (std::size_t i = 0; i < events.size(); ++i) {
    shifts.push_back(static_cast<double>(events[i].arrival - events[0].arrival - wanted(i)) / 1000);
  }
  const double shift = bench::quantile(shifts, 0.5);
  for (double& value : shifts) value = std::abs(value - shift);
  return bench::quantile(std::move(shifts), 0.5);
}

std::filesystem::path processFolder(pid_t pid) {
  return std::filesystem::path("/proc") / std::to_string(pid);
}

double residentMemory(pid_t pid) {
  std::ifstream status(processFolder(pid) / "status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) return std::strtod(line.c_str() + 6, nullptr);
  }
  throw std::runtime_error("a process is gone");
}

std::size_t entries(const std::filesystem::path& folder) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

std::size_t windowsBelow(const support::XConnection& connection, xcb_window_t window) {
  const support::XOwned<xcb_query_tree_reply_t> tree(
      xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr));
  if (!tree) return 0;
  const auto* children = xcb_query_tree_children(tree.get());
  std::size_t count = tree->children_len;
  for (int i = 0; i < tree->children_len; ++i) count += windowsBelow(connection, children[i]);
  return count;
}

class Session {
 public:
  Session() {
    if (!desktop_.waitForWindows("Tapeloop", 1)) throw std::runtime_error("no window");
    record_.emplace(program_.recordButton());
    play_.emplace(program_.named(Role::button, "Play"));
    application_.emplace(desktop_.server().display());
    makeActions();
  }

  Round round() {
    application_->clear();
    press(*record_, "Recording: true");
    observer_.clear();
    desktop_.user().run(click_);
    // Until the window manager has handed over the focus, keys are the program's own.
    if (!support::eventually([&] { return application_->hasFocus(); })) {
      throw std::runtime_error("the application did not get the focus");
    }
    desktop_.user().run(work_);
    waitForTheLast();
    const auto recorded = observer_.events();
    press(*record_, "Recording: false");
    press(*play_, "stopped playing");
    waitForTheLast();
    auto played = observer_.events();
    played.erase(played.begin(), played.begin() + eventsOfClick);
    return compare(recorded, played);
  }

  [[nodiscard]] Sample sample() {
    const pid_t pid = program_.process().pid();
    return {residentMemory(pid), residentMemory(desktop_.server().pid()),
            entries(processFolder(pid) / "fd"), entries(processFolder(pid) / "task"),
            windowsBelow(connection_, connection_.root())};
  }

 private:
  void add(XEventKind kind, std::uint8_t detail, std::chrono::nanoseconds gap, int x = 0,
           int y = 0) {
    offset_ += gap;
    actions_.push_back(
        {kind, detail, static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), offset_});
  }

  [[nodiscard]] support::ClientWindow placeOf(xcb_window_t window) const {
    const support::XOwned<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
    const support::XOwned<xcb_translate_coordinates_reply_t> place(xcb_translate_coordinates_reply(
        connection_, xcb_translate_coordinates(connection_, window, connection_.root(), 0, 0),
        nullptr));
    if (!size || !place) throw std::runtime_error("no window");
    return {place->dst_x, place->dst_y, size->width, size->height};
  }

  /// A click into the other application; typing, scrolling, a drag, and much wandering in it.
  void makeActions() {
    const auto place = placeOf(application_->window());
    add(XEventKind::motion, 0, 200ms, place.x + 50, place.y + 50);
    add(XEventKind::buttonPress, 1, 2ms);
    add(XEventKind::buttonRelease, 1, 2ms);
    click_ = std::exchange(actions_, {});
    offset_ = 0ms;
    for (const char* const key : {"t", "a", "p", "e", "Return"}) {
      add(XEventKind::keyPress, desktop_.user().keycode(key), 5ms);
      add(XEventKind::keyRelease, desktop_.user().keycode(key), 5ms);
    }
    for (const std::uint8_t wheel : {std::uint8_t{4}, std::uint8_t{5}}) {
      add(XEventKind::buttonPress, wheel, 5ms);
      add(XEventKind::buttonRelease, wheel, 0ms);
    }
    const auto wander = [&](int count) {
      for (int i = 0; i < count; ++i) {
        add(XEventKind::motion, 0, std::chrono::microseconds(1000 + i * 1931 % 4000),
            place.x + i * 37 % place.width, place.y + i * 53 % place.height);
      }
    };
    add(XEventKind::buttonPress, 1, 5ms);
    wander(100);
    add(XEventKind::buttonRelease, 1, 5ms);
    wander(400);
    add(XEventKind::motion, 0, 5ms, place.x + place.width - 1, place.y + place.height - 1);
    work_ = std::exchange(actions_, {});
  }

  void press(const support::Element& button, const char* line) {
    program_.process().clearLines();
    observer_.clear();
    program_.click(button);
    if (!program_.writes(line)) throw std::runtime_error(std::string("it did not write ") + line);
    // The observer may be behind the program.
    if (!observer_.waitFor(eventsOfClick, support::generousLimit)) {
      throw std::runtime_error("no click was seen");
    }
  }

  void waitForTheLast() {
    const auto isLast = [&](const XEventList::Events& events) {
      return !events.empty() && events.back().rootX == work_.back().x &&
             events.back().rootY == work_.back().y;
    };
    if (!observer_.waitUntil(isLast, support::generousLimit)) {
      throw std::runtime_error("the last event is missing");
    }
  }

  /// Equal in everything but time. The window manager freezes the pointer at a press until it has
  /// looked at it, and the server leaves the button out of the state of what comes meanwhile: it is
  /// left out here, and shows in the presses and releases.
  static bool looksTheSame(support::XEvent played, support::XEvent recorded) {
    constexpr unsigned modifiers = 0xff;
    played.state &= modifiers;
    recorded.state &= modifiers;
    return played.looksLike(recorded);
  }

  [[nodiscard]] Round compare(const XEventList::Events& recorded,
                              const XEventList::Events& played) const {
    const std::size_t wanted = click_.size() + work_.size();
    const auto [p, r] = std::ranges::mismatch(played, recorded, looksTheSame);
    if (recorded.size() != wanted || played.size() != wanted) {
      std::printf("of %zu events %zu were recorded and %zu played, the same up to event %td\n",
                  wanted, recorded.size(), played.size(), p - played.begin());
      return {};
    }
    if (p != played.end()) {
      std::ostringstream message;
      message << "event " << p - played.begin() << ": " << *p << " was played, " << *r
              << " recorded\n";
      std::fputs(message.str().c_str(), stdout);
      return {};
    }
    const XEventList::Events work(recorded.end() - std::ssize(work_), recorded.end());
    return {true,
            medianError(played, [&](auto i) { return recorded[i].arrival - recorded[0].arrival; }),
            medianError(work, [&](auto i) { return (work_[i].offset - work_[0].offset).count(); })};
  }

  support::TestDesktop desktop_;
  support::Program program_{desktop_};
  support::XObserver observer_{desktop_.server().display()};
  support::XConnection connection_{desktop_.server().display()};
  std::optional<support::XWindow> application_;
  std::optional<support::Element> record_;
  std::optional<support::Element> play_;
  std::vector<support::XAction> actions_;  // while they are made
  std::chrono::nanoseconds offset_{0};
  std::vector<support::XAction> click_;
  std::vector<support::XAction> work_;
};

/// What `read` gives for the samples from `from` to `to`, as shares of the whole.
template <typename T, typename Read>
std::vector<double> part(const std::vector<T>& all, double from, double to, const Read& read) {
  const auto at = [&all](double share) {
    return static_cast<std::size_t>(share * static_cast<double>(all.size()));
  };
  std::vector<double> values;
  for (std::size_t i = at(from); i < at(to); ++i) values.push_back(read(all[i]));
  return values;
}

bool verdict(const char* name, double before, double after, bool met) {
  std::printf("%-44s %10.1f %10.1f %s\n", name, before, after, met ? "OK" : "FAIL");
  return met;
}

bool judge(const std::vector<Round>& rounds, const std::vector<Sample>& samples) {
  bool met = bench::reportCount(
      "rounds that came back as recorded",
      static_cast<std::size_t>(std::ranges::count_if(rounds, &Round::same)), rounds.size());
  const auto ratio = [&](double from, double to) {
    return bench::quantile(part(rounds, from, to, [](const Round& r) { return r.ratio(); }), 0.5);
  };
  const double early = ratio(0, 0.25);
  const double late = ratio(0.75, 1);
  met &= verdict("error beside the bare loop, 1st and 4th quarter", early, late,
                 late <= std::max(early * timeRatio, early + timeMargin));
  const auto isFlat = [&](const char* name, double Sample::*field) {
    const auto median = [&](double from, double to) {
      return bench::quantile(part(samples, from, to, [&](const Sample& s) { return s.*field; }),
                             0.5);
    };
    const double before = median(0.25, 0.5);
    const double after = median(0.75, 1);
    return verdict(name, before, after,
                   after <= std::max(before * memoryRatio, before + memoryMargin));
  };
  met &= isFlat("memory of the program, kB, 2nd and 4th quarter", &Sample::program);
  met &= isFlat("memory of the X server, kB", &Sample::server);
  const auto isNoMore = [&](const char* name, std::size_t Sample::*field) {
    const std::size_t before = samples[samples.size() / 4].*field;
    const std::size_t after = samples.back().*field;
    return verdict(name, static_cast<double>(before), static_cast<double>(after), after <= before);
  };
  met &= isNoMore("open descriptors", &Sample::descriptors);
  met &= isNoMore("threads", &Sample::threads);
  met &= isNoMore("windows", &Sample::windows);
  return met;
}

bool run(std::chrono::seconds length) {
  Session session;
  std::vector<Round> rounds;
  std::vector<Sample> samples;
  const auto begin = Clock::now();
  const auto interval = std::max<Clock::duration>(length / 240, 1s);
  auto next = begin;
  std::printf("%8s %7s %9s %9s %9s %9s %5s %8s %8s\n", "seconds", "rounds", "error us", "bare us",
              "memory", "X server", "files", "threads", "windows");
  while (Clock::now() < begin + length) {
    rounds.push_back(session.round());
    if (Clock::now() < next) continue;
    next += interval;
    const Sample& now = samples.emplace_back(session.sample());
    std::printf("%8lld %7zu %9.1f %9.1f %9.0f %9.0f %5zu %8zu %8zu\n",
                static_cast<long long>(
                    std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin).count()),
                rounds.size(), rounds.back().error, rounds.back().floor, now.program, now.server,
                now.descriptors, now.threads, now.windows);
    std::fflush(stdout);
  }
  samples.push_back(session.sample());
  return judge(rounds, samples);
}

}  // namespace

int main(int count, char** arguments) {
  const long seconds = count > 1 ? std::strtol(arguments[1], nullptr, 10) : 3600;
  return tapeloop::bench::exitStatusOf([&] { return run(std::chrono::seconds(seconds)); });
}
