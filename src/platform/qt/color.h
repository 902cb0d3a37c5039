#pragma once

#include <QtGui/QColor>

#include "platform/window_system.h"

namespace tapeloop {

inline QColor toQt(Color color) {
  return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                          static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

}  // namespace tapeloop
