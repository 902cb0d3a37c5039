#pragma once

#include <cstdint>
#include <string>
#include <thread>

#include "support/x_connection.h"
#include "support/x_event.h"
#include "support/x_observer.h"

namespace tapeloop::support {

struct XWindowOptions {
  std::int16_t x = 0;
  std::int16_t y = 0;
  std::uint16_t width = 400;
  std::uint16_t height = 300;
  bool overrideRedirect = false;
  std::string title = "Another application";
};

/// The window of another application: it takes the focus and keeps the input that it receives.
/// Collects in a thread of its own.
class XWindow {
 public:
  /// Returns when the window is on screen and, unless it is override-redirect, has the focus.
  explicit XWindow(const std::string& display, const XWindowOptions& options = {});
  ~XWindow();
  XWindow(const XWindow&) = delete;
  XWindow& operator=(const XWindow&) = delete;

  [[nodiscard]] xcb_window_t window() const { return window_; }
  /// Returns when the server has given it the focus.
  void takeFocus() const;
  [[nodiscard]] bool hasFocus() const;
  void raise() const;

  /// Key, button and motion events that the server sent to this window.
  [[nodiscard]] XEventList::Events received() const { return list_.events(); }
  [[nodiscard]] std::size_t count(XEventKind kind) const;
  void clear() { list_.clear(); }
  [[nodiscard]] bool waitFor(std::size_t count, std::chrono::milliseconds limit) const {
    return list_.waitFor(count, limit);
  }
  [[nodiscard]] bool waitUntil(const std::function<bool(const XEventList::Events&)>& predicate,
                               std::chrono::milliseconds limit) const {
    return list_.waitUntil(predicate, limit);
  }

 private:
  void collect();

  XConnection connection_;  // of the collecting thread
  XConnection requests_;
  xcb_window_t window_;
  StopSignal stop_;
  XEventList list_;
  std::thread thread_;
};

}  // namespace tapeloop::support
