#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <string_view>

namespace tapeloop {

/// The running diagnostic trace on standard output, one line a step. Writing a line never blocks
/// and never fails: a trace that nobody reads costs the program nothing but the line.
class Trace {
 public:
  virtual ~Trace() = default;

  /// `line` without its line break.
  virtual void writeLine(std::string_view line) = 0;

  template <std::integral Number>
  void writeNumber(Number number) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    writeLine({digits, static_cast<std::size_t>(end - digits)});
  }
};

}  // namespace tapeloop
