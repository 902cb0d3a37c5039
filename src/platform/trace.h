#pragma once

#include <concepts>
#include <string>
#include <string_view>

#include "platform/number_text.h"

namespace tapeloop {

/// The diagnostic trace on standard output, one line for each step. Writing a line never blocks and
/// never fails.
class Trace {
 public:
  virtual ~Trace() = default;

  [[nodiscard]] bool hasReader() const { return hasReader_; }

  /// `line` without its line break.
  void writeLine(std::string_view line) {
    if (hasReader_) write(line);
  }
  /// For a line that has to be composed: `text` is called only if there is a reader.
  template <std::invocable Text>
  void writeLine(Text text) {
    if (hasReader_) write(std::string_view(text()));
  }
  template <std::same_as<std::string> Text>
  void writeLine(Text&& text) = delete;

  template <std::integral Number>
  void writeNumber(Number number) {
    if (hasReader_) write(NumberText(number));
  }
  /// In the shortest form that reads back as the same number, with a digit after the point.
  void writeNumber(double number) {
    if (!hasReader_) return;
    std::string text{std::string_view(NumberText(number))};
    if (text.find_first_not_of("-0123456789") == std::string::npos) text += ".0";
    write(text);
  }

 protected:
  /// From now on no line is written.
  void loseReader() { hasReader_ = false; }

 private:
  virtual void write(std::string_view line) = 0;

  bool hasReader_ = true;
};

}  // namespace tapeloop
