#pragma once

#include "platform/qt/view_registry.h"
#include "platform/window_system.h"

namespace tapeloop::qt {

/// Windows of Qt Quick. Main thread only.
class WindowSystem final : public tapeloop::WindowSystem {
 public:
  /// `views` outlives the window system, and the window system outlives Qt's event loop.
  explicit WindowSystem(const ViewRegistry& views) : views_(views) {}
  WindowSystem(const WindowSystem&) = delete;
  WindowSystem& operator=(const WindowSystem&) = delete;
  /// Destroys the windows that nobody holds any more.
  ~WindowSystem() override;

  std::shared_ptr<tapeloop::Window> createWindow(Rect contentRect, StyleMask mask,
                                                 BackingType backing, DeferCreation defer) override;

 private:
  const ViewRegistry& views_;
};

}  // namespace tapeloop::qt
