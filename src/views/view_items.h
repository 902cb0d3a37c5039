#pragma once

#include <string>

#include <QtQml/QQmlEngine>

#include "platform/qt/window_system.h"

namespace tapeloop {

/// Registers how the views are drawn that windows of the window system show. `engine` outlives what
/// the registry makes. `missingPermission` tells the user what to do about a missing permission.
void registerViews(qt::ViewRegistry& registry, QQmlEngine& engine,
                   const std::string& missingPermission);

}  // namespace tapeloop
