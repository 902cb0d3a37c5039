#pragma once

#include <cstdint>
#include <deque>
#include <optional>

namespace tapeloop::x11 {

/// Turns the server's 32-bit milliseconds into seconds that neither wrap nor go back, and refines
/// them below the millisecond by the time at which the program first heard of the event.
class ServerTime {
 public:
  /// The server told of an event, though not yet of what it is. Both in order; `arrival` in
  /// nanoseconds of the monotonic clock.
  void announce(std::uint32_t milliseconds, std::int64_t arrival);
  /// Seconds, for the event with this server time. `arrival` counts when it was not announced.
  double timestamp(std::uint32_t milliseconds, std::int64_t arrival);

 private:
  struct Announcement {
    std::uint32_t milliseconds;
    std::int64_t arrival;
  };

  std::deque<Announcement> announced_;     // whose events have not come yet
  std::optional<std::int64_t> unwrapped_;  // milliseconds of the previous event
  std::int64_t latest_ = 0;                // nanoseconds handed out last
};

}  // namespace tapeloop::x11
