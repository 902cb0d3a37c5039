#pragma once

#include <memory>
#include <vector>

#include "platform/defaults_store.h"
#include "platform/qt/view_registry.h"
#include "platform/qt/window.h"
#include "platform/window_system.h"

namespace tapeloop::qt {

/// Windows of Qt Quick. Main thread only.
class WindowSystem final : public tapeloop::WindowSystem {
 public:
  /// `views` and `frames`, which keeps where windows were left, outlive the window system, and the
  /// window system outlives Qt's event loop.
  WindowSystem(const ViewRegistry& views, DefaultsStore& frames) : views_(views), frames_(frames) {}
  WindowSystem(const WindowSystem&) = delete;
  WindowSystem& operator=(const WindowSystem&) = delete;
  /// Destroys the windows that nobody holds any more.
  ~WindowSystem() override;

  std::shared_ptr<tapeloop::Window> createWindow(Rect contentRect, StyleMask mask,
                                                 BackingType backing, DeferCreation defer) override;
  [[nodiscard]] std::vector<std::shared_ptr<WindowChrome>> windows() override;

  /// Counts a window that was made otherwise among the program's. Its QML has a property
  /// `movableByBackground`.
  void adopt(QQuickWindow& window);

 private:
  const ViewRegistry& views_;
  DefaultsStore& frames_;
  std::vector<std::shared_ptr<WindowChrome>> adopted_;
  std::vector<std::weak_ptr<Window>> made_;
};

}  // namespace tapeloop::qt
