#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <mutex>
#include <optional>
#include <vector>

#include <xcb/xproto.h>

namespace tapeloop::support {

enum class XEventKind : std::uint8_t {
  keyPress = XCB_KEY_PRESS,
  keyRelease = XCB_KEY_RELEASE,
  buttonPress = XCB_BUTTON_PRESS,
  buttonRelease = XCB_BUTTON_RELEASE,
  motion = XCB_MOTION_NOTIFY,
};

/// One core input event as a client saw it.
struct XEvent {
  XEventKind kind = XEventKind::motion;
  std::uint8_t detail = 0;  ///< X keycode or button; 0 for motions.
  std::int16_t rootX = 0;
  std::int16_t rootY = 0;
  std::uint16_t state = 0;       ///< Modifiers and buttons before the event.
  xcb_timestamp_t time = 0;      ///< The server's milliseconds.
  std::int64_t arrival = 0;      ///< Nanoseconds on the monotonic clock.
  bool repeatOfDownKey = false;  ///< A key press of a key that was down already.

  /// Equal in everything but time.
  [[nodiscard]] bool looksLike(const XEvent& other) const {
    return kind == other.kind && detail == other.detail && rootX == other.rootX &&
           rootY == other.rootY && state == other.state && repeatOfDownKey == other.repeatOfDownKey;
  }
};
std::ostream& operator<<(std::ostream& out, const XEvent& event);

/// Nanoseconds on the monotonic clock.
[[nodiscard]] std::int64_t monotonicNow();

/// Events that one thread collects and others wait for.
class XEventList {
 public:
  using Events = std::vector<XEvent>;

  [[nodiscard]] Events events() const;
  [[nodiscard]] std::size_t size() const;
  [[nodiscard]] std::size_t count(XEventKind kind) const;
  void clear();
  /// False when fewer than `count` events have come by the limit.
  [[nodiscard]] bool waitFor(std::size_t count, std::chrono::milliseconds limit) const;
  /// `predicate` is asked after each event, under the list's lock.
  [[nodiscard]] bool waitUntil(const std::function<bool(const Events&)>& predicate,
                               std::chrono::milliseconds limit) const;

 protected:
  void append(const XEvent& event);

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  Events events_;
};

/// Reads a core input event of 32 bytes, which has arrived now. Nothing when it is of another kind.
[[nodiscard]] std::optional<XEvent> readXEvent(const void* raw);

}  // namespace tapeloop::support
