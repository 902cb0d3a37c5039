#include "figures.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <exception>

namespace tapeloop::bench {

double quantile(std::vector<double> values, double share) {
  if (values.empty()) return 0;
  const auto rank = std::min(values.size() - 1,
                             static_cast<std::size_t>(share * static_cast<double>(values.size())));
  const auto at = values.begin() + static_cast<std::ptrdiff_t>(rank);
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

bool report(std::string_view name, double ours, double floor, std::string_view unit, double limit) {
  const double ratio = floor > 0 ? ours / floor : INFINITY;
  const bool met = ratio <= limit;
  std::printf("%-44.*s %10.2f %10.2f %-6.*s ratio %5.2f limit %4.1f %s\n",
              static_cast<int>(name.size()), name.data(), ours, floor,
              static_cast<int>(unit.size()), unit.data(), ratio, limit, met ? "OK" : "FAIL");
  std::fflush(stdout);
  return met;
}

bool reportCount(std::string_view name, std::size_t ours, std::size_t expected) {
  const bool met = ours == expected;
  std::printf("%-44.*s %10zu of %7zu %s\n", static_cast<int>(name.size()), name.data(), ours,
              expected, met ? "OK" : "FAIL");
  std::fflush(stdout);
  return met;
}

int exitStatusOf(const std::function<bool()>& run) {
  try {
    return run() ? 0 : 1;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 2;
  }
}

std::int64_t threadProcessorTime() {
  timespec used{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  return std::int64_t{used.tv_sec} * 1'000'000'000 + used.tv_nsec;
}

}  // namespace tapeloop::bench
