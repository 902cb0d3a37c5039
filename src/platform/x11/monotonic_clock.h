#pragma once

#include <cstdint>
#include <ctime>

namespace tapeloop::x11 {

/// Nanoseconds. The server counts its milliseconds on the same clock.
inline std::int64_t monotonicNow() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

}  // namespace tapeloop::x11
