// How often a replay by the program itself comes to the same end as what was recorded: random
// typing into an editor, whose text is compared, and random pointer work on a canvas, whose picture
// is. Each session is recorded once and replayed at each speed; its number is its seed.
//
// Options, each followed by a value: --layouts us,de,fr,gr  --typing SESSIONS (for each layout)
// --keys COUNT  --drawing SESSIONS  --works COUNT  --buttons all  --speeds 1,10  --seed FIRST
// --keep FOLDER (for what differs)
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "fidelity_session.h"
#include "figures.h"

namespace {

using namespace tapeloop;

struct Options {
  std::vector<std::string> layouts{"us", "de", "fr", "gr"};
  std::vector<double> speeds{1, 10};
  std::size_t typing = 1;
  std::size_t drawing = 1;
  std::size_t keys = 1000;
  std::size_t works = 150;
  std::uint32_t seed = 1;
  bench::Buttons buttons = bench::Buttons::leftAndRight;
  std::filesystem::path keep;
};

std::vector<std::string> parts(const std::string& list) {
  std::vector<std::string> found;
  std::istringstream stream(list);
  for (std::string part; std::getline(stream, part, ',');) found.push_back(part);
  return found;
}

Options optionsOf(const std::vector<std::string>& arguments) {
  Options options;
  for (std::size_t i = 0; i + 1 < arguments.size(); i += 2) {
    const std::string& name = arguments[i];
    const std::string& value = arguments[i + 1];
    if (name == "--layouts") {
      options.layouts = parts(value);
    } else if (name == "--speeds") {
      options.speeds.clear();
      for (const auto& part : parts(value)) options.speeds.push_back(std::stod(part));
    } else if (name == "--typing") {
      options.typing = std::stoul(value);
    } else if (name == "--drawing") {
      options.drawing = std::stoul(value);
    } else if (name == "--keys") {
      options.keys = std::stoul(value);
    } else if (name == "--works") {
      options.works = std::stoul(value);
    } else if (name == "--seed") {
      options.seed = static_cast<std::uint32_t>(std::stoul(value));
    } else if (name == "--buttons" && value == "all") {
      options.buttons = bench::Buttons::all;
    } else if (name == "--keep") {
      options.keep = value;
    } else {
      throw std::runtime_error("no such option: " + name + " " + value);
    }
  }
  if (arguments.size() % 2 != 0 || options.speeds.empty()) throw std::runtime_error("no value");
  return options;
}

class Fidelity {
 public:
  explicit Fidelity(Options options) : options_(std::move(options)) {}

  bool run() {
    for (const auto& layout : options_.layouts) {
      for (std::size_t i = 0; i < options_.typing; ++i) {
        session({.layout = layout, .length = options_.keys}, "typing on " + layout, i);
      }
    }
    for (std::size_t i = 0; i < options_.drawing; ++i) {
      session({.draws = true, .length = options_.works, .buttons = options_.buttons}, "drawing", i);
    }
    bool met = true;
    for (const auto& [name, count] : counts_) {
      met &= bench::reportCount(name, count.equal, count.all);
    }
    return met;
  }

 private:
  struct Count {
    std::size_t equal = 0;
    std::size_t all = 0;

    void add(bool isEqual) {
      equal += isEqual ? 1U : 0U;
      ++all;
    }
  };

  void session(bench::SessionPlan plan, const std::string& name, std::size_t index) {
    plan.seed = options_.seed + static_cast<std::uint32_t>(index);
    plan.speeds = options_.speeds;
    // So that each speed is played from memory and from the store.
    std::ranges::rotate(
        plan.speeds, plan.speeds.begin() + static_cast<std::ptrdiff_t>(index % plan.speeds.size()));
    Count& ended = counts_[name + ", sessions that came to their end"];
    ++ended.all;
    try {
      bench::FidelitySession session(plan);
      for (const auto& replay : session.run()) judge(session, replay, name, plan.seed);
      ++ended.equal;
    } catch (const std::exception& failure) {
      std::printf("%s, seed %u: %s\n", name.c_str(), plan.seed, failure.what());
    }
  }

  void judge(bench::FidelitySession& session, const bench::Replay& replay, const std::string& name,
             std::uint32_t seed) {
    std::ostringstream text;
    text << name << " at " << replay.speed << "x";
    const std::string kind = text.str();
    std::printf("%s%s, seed %u: %s%s%s\n", kind.c_str(), replay.isLoaded ? ", loaded" : "", seed,
                replay.isSameOutcome ? "equal" : "DIFFERENT",
                replay.isSameInput ? "" : ", input differs: ", replay.note.c_str());
    counts_[kind + ", same input"].add(replay.isSameInput);
    counts_[kind + ", same outcome"].add(replay.isSameOutcome);
    if (!replay.isSameOutcome) {
      keep(session.outcome(), replay.outcome, kind, seed);
      std::printf("  the same by a bare client: %s\n",
                  session.playBare(replay.speed) ? "equal" : "DIFFERENT");
    }
    std::fflush(stdout);
  }

  void keep(const std::string& wanted, const std::string& got, std::string name,
            std::uint32_t seed) const {
    if (options_.keep.empty()) return;
    std::ranges::replace(name, ' ', '-');
    const auto write = [&](const std::string& what, const std::string& content) {
      std::ofstream(options_.keep / (name + "-" + std::to_string(seed) + what)) << content;
    };
    write(".recorded", wanted);
    write(".replayed", got);
  }

  Options options_;
  std::map<std::string, Count> counts_;
};

}  // namespace

int main(int count, char** arguments) {
  return tapeloop::bench::exitStatusOf([&] {
    return Fidelity(optionsOf({arguments + 1, arguments + count})).run();
  });
}
