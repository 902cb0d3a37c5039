#include "playback/date_interval.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace tapeloop {
namespace {

std::string isoDate(double secondsSince1970) {
  using namespace std::chrono;
  const sys_time<milliseconds> time{milliseconds(std::llround(secondsSince1970 * 1000))};
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(time - day);
  std::array<char, 48> text{};
  const int length = std::snprintf(
      text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ",
      static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
      static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
      static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()),
      static_cast<int>(clock.subseconds().count()));
  return {text.data(), static_cast<std::size_t>(length)};
}

}  // namespace

std::string dateInterval(double start, double end) {
  return isoDate(start) + " to " + isoDate(end);
}

}  // namespace tapeloop
