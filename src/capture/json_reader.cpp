#include "capture/json_reader.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <system_error>

namespace tapeloop {
namespace {

constexpr unsigned firstHighSurrogate = 0xD800;
constexpr unsigned firstLowSurrogate = 0xDC00;
constexpr unsigned afterSurrogates = 0xE000;
constexpr unsigned firstBeyondUnits = 0x10000;

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

int hexValue(char digit) {
  if (isDigit(digit)) return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return -1;
}

/// A number as an integer times a power of ten. Its digits neither begin nor end with a zero; those
/// of 0 are empty.
struct Decimal {
  bool isNegative = false;
  std::string digits;
  std::int64_t exponent = 0;
};

// Beyond any exponent of a number that can be represented; a quarter, so that sums don't overflow.
constexpr std::int64_t hugeExponent = std::numeric_limits<std::int64_t>::max() / 4;

std::int64_t exponentOf(std::string_view written) {
  if (written.starts_with('+')) written.remove_prefix(1);
  std::int64_t exponent = 0;
  const auto [end, error] =
      std::from_chars(written.data(), written.data() + written.size(), exponent);
  if (error != std::errc{}) exponent = written.starts_with('-') ? -hugeExponent : hugeExponent;
  return std::clamp(exponent, -hugeExponent, hugeExponent);
}

Decimal decimalOf(std::string_view number) {
  Decimal decimal;
  decimal.isNegative = number.starts_with('-');
  if (decimal.isNegative) number.remove_prefix(1);
  if (const auto e = number.find_first_of("eE"); e != std::string_view::npos) {
    decimal.exponent = exponentOf(number.substr(e + 1));
    number = number.substr(0, e);
  }
  const auto point = std::min(number.find('.'), number.size());
  const std::string_view fraction = number.substr(std::min(point + 1, number.size()));
  decimal.digits.append(number.substr(0, point)).append(fraction);
  decimal.exponent -= static_cast<std::int64_t>(fraction.size());

  std::string& digits = decimal.digits;
  digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
  const std::size_t kept = digits.find_last_not_of('0') + 1;  // 0 if there is none
  decimal.exponent += static_cast<std::int64_t>(digits.size() - kept);
  digits.resize(kept);
  return decimal;
}

}  // namespace

std::size_t sequenceLength(std::string_view text) {
  const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  const std::size_t length = lead < 0xC2   ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF5 ? 4
                                           : 0;
  if (length == 0 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  const bool overlong = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xF0 && byte(1) < 0x90);
  const bool surrogate = lead == 0xED && byte(1) >= 0xA0;
  const bool tooLarge = lead == 0xF4 && byte(1) >= 0x90;
  return overlong || surrogate || tooLarge ? 0 : length;
}

bool JsonScanner::takeWord(std::string_view word) {
  if (!std::string_view(at_, static_cast<std::size_t>(end_ - at_)).starts_with(word)) return false;
  at_ += word.size();
  return true;
}

bool JsonScanner::takeNumber(std::string_view& number) {
  const char* const start = at_;
  if (peek() == '-') ++at_;
  if (peek() == '0') {
    ++at_;
  } else if (!takeDigits()) {
    return false;
  }
  if (peek() == '.') {
    ++at_;
    if (!takeDigits()) return false;
  }
  if (peek() == 'e' || peek() == 'E') {
    ++at_;
    if (peek() == '+' || peek() == '-') ++at_;
    if (!takeDigits()) return false;
  }
  number = {start, static_cast<std::size_t>(at_ - start)};
  return true;
}

bool JsonScanner::takeDigits() {
  const char* const start = at_;
  while (at_ != end_ && isDigit(*at_)) ++at_;
  return at_ != start;
}

bool JsonScanner::takeText(std::string_view& text) {
  const char* const start = ++at_;
  const char* copied = nullptr;  // end of what is in `unescaped_`; null before the first escape
  while (at_ != end_ && *at_ != '"') {
    const auto byte = static_cast<unsigned char>(*at_);
    if (byte < 0x20) return false;
    if (byte == '\\') {
      if (!copied) unescaped_.clear();
      unescaped_.append(copied ? copied : start, at_);
      if (!takeEscape()) return false;
      copied = at_;
    } else if (byte >= 0x80) {
      const std::size_t length = sequenceLength({at_, static_cast<std::size_t>(end_ - at_)});
      if (length == 0) return false;
      at_ += length;
    } else {
      ++at_;
    }
  }
  if (at_ == end_) return false;
  if (copied) {
    text = unescaped_.append(copied, at_);
  } else {
    text = {start, static_cast<std::size_t>(at_ - start)};
  }
  ++at_;
  return true;
}

bool JsonScanner::takeEscape() {
  constexpr std::string_view names = "\"\\/bfnrt";
  constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
  ++at_;
  if (const auto known = names.find(peek()); known != std::string_view::npos) {
    unescaped_ += meanings[known];
    ++at_;
    return true;
  }
  unsigned unit = 0;
  if (!takeCodeUnit(unit)) return false;
  if (unit < firstHighSurrogate || unit >= afterSurrogates) {
    append(unit);
    return true;
  }
  // A surrogate is valid only as the first half of a pair.
  unsigned second = 0;
  if (unit >= firstLowSurrogate || peek() != '\\') return false;
  ++at_;
  if (!takeCodeUnit(second) || second < firstLowSurrogate || second >= afterSurrogates) {
    return false;
  }
  append(firstBeyondUnits + ((unit - firstHighSurrogate) << 10U) + (second - firstLowSurrogate));
  return true;
}

bool JsonScanner::takeCodeUnit(unsigned& unit) {
  constexpr int digits = 4;
  if (peek() != 'u') return false;
  ++at_;
  for (int i = 0; i < digits; ++i, ++at_) {
    const int value = hexValue(peek());
    if (value < 0) return false;
    unit = unit << 4U | static_cast<unsigned>(value);
  }
  return true;
}

void JsonScanner::append(unsigned codePoint) {
  const auto continuation = [codePoint](unsigned shift) {
    return static_cast<char>(0x80U | ((codePoint >> shift) & 0x3FU));
  };
  if (codePoint < 0x80) {
    unescaped_ += static_cast<char>(codePoint);
    return;
  }
  if (codePoint < 0x800) {
    unescaped_ += static_cast<char>(0xC0U | codePoint >> 6U);
  } else {
    if (codePoint < firstBeyondUnits) {
      unescaped_ += static_cast<char>(0xE0U | codePoint >> 12U);
    } else {
      unescaped_ += static_cast<char>(0xF0U | codePoint >> 18U);
      unescaped_ += continuation(12);
    }
    unescaped_ += continuation(6);
  }
  unescaped_ += continuation(0);
}

std::optional<double> floatOf(std::string_view number) {
  double value = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  if (error == std::errc{}) return value;
  // Out of range: too large if there is a digit before the decimal point, else too small.
  const Decimal decimal = decimalOf(number);
  if (static_cast<std::int64_t>(decimal.digits.size()) + decimal.exponent > 0) return std::nullopt;
  return decimal.isNegative ? -0.0 : 0.0;
}

std::optional<std::int64_t> integerOf(std::string_view number) {
  std::int64_t value = 0;
  const char* const last = number.data() + number.size();
  const auto [end, error] = std::from_chars(number.data(), last, value);
  if (error == std::errc{} && end == last) return value;

  constexpr std::int64_t mostDigits = std::numeric_limits<std::int64_t>::digits10 + 1;
  const Decimal decimal = decimalOf(number);
  if (decimal.digits.empty()) return 0;
  const auto length = static_cast<std::int64_t>(decimal.digits.size()) + decimal.exponent;
  if (decimal.exponent < 0 || length > mostDigits) return std::nullopt;
  std::string digits = decimal.isNegative ? "-" : "";
  digits.append(decimal.digits).append(static_cast<std::size_t>(decimal.exponent), '0');
  const auto written = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (written.ec != std::errc{}) return std::nullopt;
  return value;
}

}  // namespace tapeloop
