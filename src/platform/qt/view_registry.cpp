#include "platform/qt/view_registry.h"

#include <QtQuick/QQuickItem>

namespace tapeloop::qt {

std::unique_ptr<QQuickItem> ViewRegistry::makeItem(const std::shared_ptr<View>& view) const {
  if (!view) return nullptr;
  const View& seen = *view;
  const auto maker = makers_.find(typeid(seen));
  return maker == makers_.end() ? nullptr : maker->second(view);
}

}  // namespace tapeloop::qt
