#pragma once

#include <functional>
#include <memory>
#include <typeindex>
#include <typeinfo>
#include <unordered_map>

#include "platform/window_system.h"

class QQuickItem;

namespace tapeloop::qt {

/// How each type of view is drawn: an item of Qt Quick for a view. Filled by whoever has the
/// drawings, so that the window system knows no view.
class ViewRegistry {
 public:
  /// Null when the item can't be made. The caller owns it.
  using MakeItem = std::function<std::unique_ptr<QQuickItem>(const std::shared_ptr<View>&)>;

  template <typename ViewType>
  void add(std::function<std::unique_ptr<QQuickItem>(const std::shared_ptr<ViewType>&)> make) {
    makers_[typeid(ViewType)] = [make = std::move(make)](const std::shared_ptr<View>& view) {
      return make(std::static_pointer_cast<ViewType>(view));
    };
  }

  /// Null for a view of a type that nobody registered.
  [[nodiscard]] std::unique_ptr<QQuickItem> makeItem(const std::shared_ptr<View>& view) const;

 private:
  std::unordered_map<std::type_index, MakeItem> makers_;
};

}  // namespace tapeloop::qt
