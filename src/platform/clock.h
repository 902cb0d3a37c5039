#pragma once

namespace tapeloop {

/// Calendar time, for what is shown to people. Nothing is timed by it.
class Clock {
 public:
  virtual ~Clock() = default;
  /// Seconds since 1970-01-01 00:00 UTC.
  [[nodiscard]] virtual double date() const = 0;
};

}  // namespace tapeloop
