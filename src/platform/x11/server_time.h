#pragma once

#include <cstdint>
#include <optional>

namespace tapeloop::x11 {

/// Turns the server's 32-bit milliseconds into seconds that neither wrap nor go back, and refines
/// them below the millisecond by the time of arrival.
class ServerTime {
 public:
  /// `milliseconds` is an event's server time; `arrival` the time at which it was seen, in
  /// nanoseconds of the monotonic clock. Events come in order.
  double timestamp(std::uint32_t milliseconds, std::int64_t arrival);

 private:
  std::optional<std::int64_t> unwrapped_;  // milliseconds of the previous event
  std::int64_t latest_ = 0;                // nanoseconds handed out last
};

}  // namespace tapeloop::x11
