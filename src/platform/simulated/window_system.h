#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/window_system.h"

namespace tapeloop::simulated {

/// What became of one window; known also when the window is gone.
struct WindowRecord {
  /// By name with their arguments, in order, the creation first: "setLevel 3".
  std::vector<std::string> operations;
  std::weak_ptr<View> view;
  StyleMask styleMask = 0;
  Point topLeft;
  std::string title;
  bool visible = false;
};

/// Windows that nobody sees. A view appears when it is the content of a window that is on screen.
class RecordedWindowSystem final : public WindowSystem {
 public:
  std::shared_ptr<Window> createWindow(Rect contentRect, StyleMask mask, BackingType backing,
                                       DeferCreation defer) override;

  [[nodiscard]] std::vector<std::shared_ptr<WindowChrome>> windows() override;

  /// Puts a window of this title on screen that somebody else holds.
  std::shared_ptr<Window> openWindow(std::string title);
  /// Runs each time that a window is brought on screen at once, which on a real desktop takes time.
  void onDisplay(std::function<void()> callback) { *displaying_ = std::move(callback); }
  /// From now on no window can be made.
  void refuseWindows() { refuses_ = true; }

  /// Every window that was made, the oldest first.
  [[nodiscard]] const std::vector<std::shared_ptr<const WindowRecord>>& records() const {
    return records_;
  }
  [[nodiscard]] std::size_t visibleWindows() const;

 private:
  std::vector<std::shared_ptr<const WindowRecord>> records_;
  std::vector<std::weak_ptr<Window>> made_;  // beside `records_`
  const std::shared_ptr<std::function<void()>> displaying_ =
      std::make_shared<std::function<void()>>();
  bool refuses_ = false;
};

}  // namespace tapeloop::simulated
