#pragma once

#include <array>
#include <charconv>
#include <concepts>
#include <string_view>

namespace tapeloop {

/// The shortest text that reads back as the same number, made without an allocation. Floats are
/// decimal, with an exponent where that is shorter.
class NumberText {
 public:
  explicit NumberText(std::integral auto number, int base = 10) {
    end_ = std::to_chars(text_.begin(), text_.end(), number, base).ptr;
  }
  explicit NumberText(double number) {
    end_ = std::to_chars(text_.begin(), text_.end(), number).ptr;
  }
  NumberText(const NumberText&) = delete;
  NumberText& operator=(const NumberText&) = delete;

  operator std::string_view() const { return {text_.data(), end_}; }

 private:
  std::array<char, 32> text_;  // a float takes 24 at most
  const char* end_;
};

}  // namespace tapeloop
