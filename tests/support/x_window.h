#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "support/x_connection.h"
#include "support/x_event.h"

namespace tapeloop::support {

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

  /// Key, button and motion events that the server sent to this window.
  [[nodiscard]] Events received() const { return events(); }

 private:
  void collect();

  XConnection connection_;  // of the collecting thread
  XConnection requests_;
  xcb_window_t window_;
  std::optional<XReader> reader_;
};

}  // namespace tapeloop::support
