#pragma once

#include <bitset>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "support/x_connection.h"

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

/// A client that sees every key, button and motion event on the server, in order, of all clients
/// and for all clients. Collects in a thread of its own.
class XObserver : public XEventList {
 public:
  /// Everything that is posted after the constructor returns is seen.
  explicit XObserver(const std::string& display);
  /// Processor time that the collecting thread has used, in nanoseconds.
  [[nodiscard]] std::int64_t processorTime() const;

 private:
  void wake();
  void readRecord();

  XConnection control_;
  XConnection data_;
  unsigned recording_ = 0;  // sequence number of the request that all record replies answer
  bool started_ = false;
  std::bitset<256> down_;
  std::optional<XReader> reader_;
};

struct XWindowOptions {
  std::int16_t x = 0;
  std::int16_t y = 0;
  std::uint16_t width = 400;
  std::uint16_t height = 300;
  bool overrideRedirect = false;
};

/// The window of another application: it takes the focus and keeps the input that it receives.
/// Collects in a thread of its own.
class XWindow : public XEventList {
 public:
  /// Returns when the window is on screen and, unless it is override-redirect, has the focus.
  explicit XWindow(const std::string& display, const XWindowOptions& options = {});

  [[nodiscard]] xcb_window_t window() const { return window_; }
  /// Returns when the server has given it the focus.
  void takeFocus() const;
  [[nodiscard]] bool hasFocus() const;
  void raise() const;

 private:
  void collect();

  XConnection connection_;  // of the collecting thread
  XConnection requests_;
  xcb_window_t window_;
  std::optional<XReader> reader_;
};

}  // namespace tapeloop::support
