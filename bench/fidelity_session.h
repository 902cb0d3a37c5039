#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "fidelity_input.h"
#include "support/x_events.h"
#include "window/program.h"

namespace tapeloop::bench {

/// What a session is made from; the same values make the same input.
struct SessionPlan {
  std::string layout = "us";
  bool draws = false;  ///< Otherwise it types.
  std::size_t length = 300;
  std::uint32_t seed = 1;
  Buttons buttons = Buttons::leftAndRight;
  /// The first is played right after recording, the others are loaded by a program started anew.
  std::vector<double> speeds{1, 10};
};

/// What a replay made in an application, beside what the recorded session had made of it.
struct Replay {
  double speed = 1;
  bool isLoaded = false;
  bool isSameInput = false;    ///< The server delivered what it had delivered before.
  bool isSameOutcome = false;  ///< The text, or the picture.
  std::string note;            ///< The first difference, if there is any.
  std::string outcome;
};

/// A random session of work in another application, which is recorded by the program and replayed.
/// Everything runs on an X server of its own.
class FidelitySession {
 public:
  explicit FidelitySession(const SessionPlan& plan);

  /// Throws when something does not come about at all.
  [[nodiscard]] std::vector<Replay> run();
  /// The same once more by a bare client, for comparison: what was seen while it was recorded is
  /// posted at this speed. True when the outcome is the same.
  [[nodiscard]] bool playBare(double speed);
  /// What the recorded session made.
  [[nodiscard]] const std::string& outcome() const { return outcome_; }

 private:
  using Events = support::XEventList::Events;
  class Application;

  void store(const std::string& key, double number) const;
  std::unique_ptr<support::Program> start(double speed);
  void strike(std::uint8_t key) const;
  void record(support::Program& program);
  Replay play(support::Program& program, double speed);
  /// What applications are to see of a replay.
  [[nodiscard]] Events expected() const;
  [[nodiscard]] Events relevant(Events events) const;
  [[nodiscard]] std::string firstDifference(const Events& replayed) const;

  SessionPlan plan_;
  support::TestDesktop desktop_;
  support::XObserver observer_;
  support::TemporaryFolder data_;
  std::vector<support::XAction> actions_;
  Events recorded_;
  std::string outcome_;
};

}  // namespace tapeloop::bench
