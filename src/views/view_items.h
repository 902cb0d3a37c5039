#pragma once

#include <QtQml/QQmlEngine>

#include "platform/qt/view_registry.h"

namespace tapeloop {

/// Registers how the indicator views are drawn. `engine` outlives what the registry makes.
void registerViews(qt::ViewRegistry& registry, QQmlEngine& engine);

}  // namespace tapeloop
