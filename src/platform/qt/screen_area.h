#pragma once

#include <QtCore/QRect>

namespace tapeloop::qt {

/// What windows may cover of the screen on which most of `frame` lies. Empty: it is on none.
[[nodiscard]] QRect areaAround(const QRect& frame);

/// The frame, moved no further than it takes to lie within the area. Of one that is larger, the
/// upper left corner does.
[[nodiscard]] QRect movedInto(const QRect& area, QRect frame);

}  // namespace tapeloop::qt
