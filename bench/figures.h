#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace tapeloop::bench {

/// The value below which `share` of the values lie, 0 to 1. 0 when there are none.
[[nodiscard]] double quantile(std::vector<double> values, double share);

/// Writes one line with the figure, its floor measured alongside, their ratio, the limit of that
/// and OK or FAIL. True for OK.
bool report(std::string_view name, double ours, double floor, std::string_view unit, double limit);
/// The same for a count that has to be met exactly.
bool reportCount(std::string_view name, std::size_t ours, std::size_t expected);

/// The exit status of a program that is nothing but `run`, which tells whether all limits were met.
/// What it throws goes to standard error.
int exitStatusOf(const std::function<bool()>& run);

/// Processor time of the calling thread, in nanoseconds.
[[nodiscard]] std::int64_t threadProcessorTime();

}  // namespace tapeloop::bench
