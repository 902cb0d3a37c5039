#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/observable.h"
#include "platform/screens.h"
#include "platform/x11/connection.h"

namespace tapeloop::x11 {

/// The monitors, read anew whenever their arrangement changes, and the conversion between pixels of
/// the root window and points.
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
  [[nodiscard]] bool isChange(const xcb_generic_event_t& event) const;

  Connection& connection_;
  std::vector<Screen> screens_;
  Rect primary_;        // in root pixels, downwards
  bool stale_ = false;  // changed since they were read
  Subscription events_;
  Subscription drained_;
};

struct Pixel {
  std::int16_t x = 0;  ///< On the root window.
  std::int16_t y = 0;
  friend bool operator==(const Pixel&, const Pixel&) = default;
};
/// Asks the server. Nothing if the pointer is on another screen of the display.
std::optional<Pixel> pointerPixel(const Connection& connection);

/// Caches the position of the pointer while this program moves it. The server is asked, which takes
/// a round trip, only if another device or program may have moved it since.
class PointerTracker {
 public:
  explicit PointerTracker(Connection& connection);

  /// Starts or stops watching the other pointer devices for motion.
  void watch(bool on);
  /// This program has just moved the pointer here.
  void movedTo(Pixel place);
  [[nodiscard]] bool isAt(Pixel place);

 private:
  void handle(const xcb_generic_event_t& event);

  Connection& connection_;
  std::vector<std::uint16_t> watched_;  // device numbers
  std::optional<Pixel> place_;          // empty: unknown
  std::int64_t movedAt_ = 0;            // monotonic nanoseconds
  Subscription events_;
};

}  // namespace tapeloop::x11
