#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/observable.h"
#include "platform/screens.h"
#include "platform/x11/connection.h"

namespace tapeloop::x11 {

/// The monitors, kept up with changes of their arrangement, and the way from the server's pixels to
/// points and back. Main thread only.
class X11Screens final : public Screens {
 public:
  explicit X11Screens(Connection& connection);
  X11Screens(const X11Screens&) = delete;
  X11Screens& operator=(const X11Screens&) = delete;

  [[nodiscard]] std::vector<Screen> screens() const override { return screens_; }
  [[nodiscard]] std::optional<Screen> mainScreen() const override;
  /// Asks the server.
  [[nodiscard]] std::optional<Point> mouseLocation() const override;

  /// Pixels of the root window, downwards, to a point with the origin at the primary monitor's
  /// bottom-left corner.
  [[nodiscard]] Point fromRoot(int x, int y) const;
  /// A point with the origin at the primary monitor's top-left corner, downwards, to pixels of the
  /// root window.
  [[nodiscard]] Point toRoot(Point fromPrimaryTopLeft) const;

 private:
  void load();
  void handle(const xcb_generic_event_t& event);

  Connection& connection_;
  std::vector<Screen> screens_;
  Rect primary_;  // in root pixels, downwards
  bool stale_ = false;
  Subscription events_;
  Subscription drained_;
};

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
