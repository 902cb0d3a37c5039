#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/trace.h"

namespace tapeloop::simulated {

/// Keeps the lines of the trace.
class TraceLines final : public Trace {
 public:
  [[nodiscard]] const std::vector<std::string>& lines() const { return lines_; }
  /// The lines since the last call.
  std::vector<std::string> take() { return std::exchange(lines_, {}); }

 private:
  void write(std::string_view line) override { lines_.emplace_back(line); }

  std::vector<std::string> lines_;
};

}  // namespace tapeloop::simulated
