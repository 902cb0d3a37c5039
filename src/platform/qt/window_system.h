#pragma once

#include <functional>
#include <memory>
#include <typeindex>
#include <typeinfo>
#include <unordered_map>
#include <vector>

#include "platform/defaults_store.h"
#include "platform/window_system.h"

class QQuickItem;
class QQuickWindow;

namespace tapeloop::qt {

class Window;

/// Makes the item of Qt Quick that draws a view, by the type of the view. The layer that has the
/// QML registers its views here, so the window system depends on none of them.
class ViewRegistry {
 public:
  /// Null if the item can't be made.
  using MakeItem = std::function<std::unique_ptr<QQuickItem>(const std::shared_ptr<View>&)>;

  template <typename ViewType>
  void add(std::function<std::unique_ptr<QQuickItem>(const std::shared_ptr<ViewType>&)> make) {
    makers_[typeid(ViewType)] = [make = std::move(make)](const std::shared_ptr<View>& view) {
      return make(std::static_pointer_cast<ViewType>(view));
    };
  }

  /// Null for a view of a type that is not registered.
  [[nodiscard]] std::unique_ptr<QQuickItem> makeItem(const std::shared_ptr<View>& view) const;

 private:
  std::unordered_map<std::type_index, MakeItem> makers_;
};

/// Windows of Qt Quick. Destroyed after Qt's event loop has ended.
class WindowSystem final : public tapeloop::WindowSystem {
 public:
  /// `frames` stores where windows were left.
  WindowSystem(const ViewRegistry& views, DefaultsStore& frames) : views_(views), frames_(frames) {}
  WindowSystem(const WindowSystem&) = delete;
  WindowSystem& operator=(const WindowSystem&) = delete;
  /// Destroys the native windows whose `Window` is gone. They wait for an event loop otherwise.
  ~WindowSystem() override;

  std::shared_ptr<tapeloop::Window> createWindow(Rect contentRect, StyleMask mask,
                                                 BackingType backing, DeferCreation defer) override;
  [[nodiscard]] std::vector<std::shared_ptr<WindowChrome>> windows() override;

  /// Adds a window that was made from QML to `windows`. Its root has a property
  /// `movableByBackground`.
  void adopt(QQuickWindow& window);

 private:
  const ViewRegistry& views_;
  DefaultsStore& frames_;
  std::vector<std::shared_ptr<WindowChrome>> adopted_;
  std::vector<std::weak_ptr<Window>> made_;
};

}  // namespace tapeloop::qt
