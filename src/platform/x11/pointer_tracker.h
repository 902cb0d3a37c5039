#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/x11/connection.h"

namespace tapeloop::x11 {

/// A place on the root window.
struct Pixel {
  std::int16_t x = 0;
  std::int16_t y = 0;
  friend bool operator==(const Pixel&, const Pixel&) = default;
};

/// Knows where the pointer is while this program moves it. The server is asked, which takes a round
/// trip, only if somebody else may have moved it since. Main thread only.
class PointerTracker {
 public:
  explicit PointerTracker(Connection& connection);

  /// Begins or ends watching whether other devices move the pointer.
  void watch(bool on);
  /// This program has just moved the pointer here.
  void movedTo(Pixel place);
  [[nodiscard]] bool isAt(Pixel place);

 private:
  void handle(const xcb_generic_event_t& event);
  [[nodiscard]] std::vector<std::uint16_t> otherPointers() const;
  [[nodiscard]] std::optional<Pixel> ask() const;

  Connection& connection_;
  std::vector<std::uint16_t> watched_;  // device numbers
  std::optional<Pixel> place_;          // where this program moved it to; empty: anywhere
  std::int64_t movedAt_ = 0;            // monotonic nanoseconds
  Subscription events_;
};

}  // namespace tapeloop::x11
