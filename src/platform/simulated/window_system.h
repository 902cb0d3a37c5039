#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/window_system.h"

namespace tapeloop::simulated {

/// What was done with one window. Kept when the window is destroyed.
struct WindowRecord {
  /// The calls with their arguments, in order, the creation first: "setLevel 3".
  std::vector<std::string> operations;
  std::weak_ptr<View> view;
  StyleMask styleMask = 0;
  Point topLeft;
  std::string title;
  bool visible = false;
};

/// Windows in memory. A view appears when it is the content of a window that is shown.
class RecordedWindowSystem final : public WindowSystem {
 public:
  std::shared_ptr<Window> createWindow(Rect contentRect, StyleMask mask, BackingType backing,
                                       DeferCreation defer) override;

  [[nodiscard]] std::vector<std::shared_ptr<WindowChrome>> windows() override;

  /// Shows a window with this title that was not created through `createWindow`.
  std::shared_ptr<Window> openWindow(std::string title);
  /// `callback` runs in each `Window::display`, which takes time on a real desktop.
  void onDisplay(std::function<void()> callback) { *displaying_ = std::move(callback); }
  /// From now on no window can be created.
  void refuseWindows() { refuses_ = true; }

  /// All windows ever created, the oldest first.
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
