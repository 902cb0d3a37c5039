#include "capture/json_number.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <system_error>

namespace tapeloop {
namespace {

/// The digits of a number as those of an integer, and the power of ten that it is multiplied by. No
/// zero begins or ends the digits; zero itself has none.
struct Decimal {
  bool isNegative = false;
  std::string digits;
  std::int64_t exponent = 0;
};

// What is written out as far as this would take more memory than there is.
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

std::optional<double> floatOf(std::string_view number) {
  double value = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  if (error == std::errc{}) return value;
  // Too large or too small; a digit before the point tells.
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
