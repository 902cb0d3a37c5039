#include "platform/qt/screen_area.h"

#include <algorithm>

#include <QtGui/QGuiApplication>
#include <QtGui/QScreen>

namespace tapeloop::qt {

QRect areaAround(const QRect& frame) {
  QRect area;
  int most = 0;
  const auto screens = QGuiApplication::screens();
  for (const QScreen* screen : screens) {
    const QRect common = screen->geometry() & frame;
    const int size = common.width() * common.height();
    if (size <= most) continue;
    most = size;
    area = screen->availableGeometry();
  }
  return area;
}

QRect movedInto(const QRect& area, QRect frame) {
  frame.moveLeft(std::max(area.left(), std::min(frame.left(), area.right() + 1 - frame.width())));
  frame.moveTop(std::max(area.top(), std::min(frame.top(), area.bottom() + 1 - frame.height())));
  return frame;
}

}  // namespace tapeloop::qt
