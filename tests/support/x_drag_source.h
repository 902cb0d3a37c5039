#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "support/x_connection.h"

namespace tapeloop::support {

/// Something to drag in the window of another application, 100 pixels on each side: once a button
/// goes down on it, the windows that the pointer comes over are offered a text by version 5 of the
/// XDND protocol. Answers in a thread of its own. When it goes in the middle of a drag, the other
/// side is not notified.
class XDragSource {
 public:
  static constexpr std::int16_t middleX = 750;
  static constexpr std::int16_t middleY = 70;

  /// Returns when it is on the screen. `types` is what the text is offered as.
  XDragSource(const std::string& display, std::string text,
              const std::vector<std::string>& types = {"text/plain"});

  /// Whether a window takes the drop, and says that it did something with it.
  [[nodiscard]] bool waitForDrop(std::chrono::milliseconds limit);

 private:
  void serve();
  void handle(const xcb_generic_event_t& event);
  void moved(const xcb_motion_notify_event_t& motion);
  void released(xcb_timestamp_t time);
  void offerPosition();
  void handOver(const xcb_selection_request_event_t& request);
  void send(const char* what, const std::array<std::uint32_t, 4>& data = {}) const;
  [[nodiscard]] xcb_window_t awareWindowAt(std::int16_t x, std::int16_t y) const;

  const std::string text_;
  XConnection connection_;
  const xcb_window_t window_;
  std::vector<xcb_atom_t> types_;

  // Of the serving thread.
  xcb_window_t target_ = XCB_NONE;  // the window below the pointer, if drops are known to it
  xcb_motion_notify_event_t latest_{};
  bool isAnswerDue_ = false;
  bool isMoveDue_ = false;
  bool isAccepted_ = false;
  std::optional<xcb_timestamp_t> release_;  // waits for the last answer

  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<bool> dropped_;
  std::optional<XReader> reader_;
};

}  // namespace tapeloop::support
