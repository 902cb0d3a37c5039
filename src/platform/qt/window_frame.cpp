#include "platform/qt/window_frame.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <variant>
#include <vector>

#include <QtCore/QEvent>
#include <QtGui/QGuiApplication>
#include <QtGui/QImage>
#include <QtGui/QPainter>
#include <QtGui/QScreen>
#include <QtGui/qguiapplication_platform.h>
#include <xcb/shape.h>
#include <xcb/xcb.h>

#include "platform/system/handles.h"

namespace tapeloop::qt {
namespace {

using system::own;

bool isComposited(xcb_connection_t* connection) {
  constexpr std::string_view compositor = "_NET_WM_CM_S0";
  const auto request =
      xcb_intern_atom(connection, 0, std::uint16_t{compositor.size()}, compositor.data());
  const auto selection = own(xcb_intern_atom_reply(connection, request, nullptr));
  if (!selection) return false;
  const auto owner = own(xcb_get_selection_owner_reply(
      connection, xcb_get_selection_owner(connection, selection->atom), nullptr));
  return owner && owner->owner != XCB_WINDOW_NONE;
}

/// The pixels that are wholly inside. Those on the edge are left out: they would be blended with
/// black.
std::vector<xcb_rectangle_t> pixelsInside(QSizeF size, double cornerRadius, double pixelRatio) {
  QImage image((size * pixelRatio).toSize(), QImage::Format_Alpha8);
  image.fill(0);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(Qt::black);
  painter.scale(pixelRatio, pixelRatio);
  painter.drawRoundedRect(QRectF({0, 0}, size), cornerRadius, cornerRadius);
  painter.end();
  std::vector<xcb_rectangle_t> rows;
  for (int y = 0; y < image.height(); ++y) {
    const std::uint8_t* row = image.constScanLine(y);
    int begin = 0;
    int end = image.width();
    while (begin < end && row[begin] != 0xff) ++begin;
    while (end > begin && row[end - 1] != 0xff) --end;
    if (begin == end) continue;
    rows.push_back({static_cast<std::int16_t>(begin), static_cast<std::int16_t>(y),
                    static_cast<std::uint16_t>(end - begin), 1});
  }
  return rows;
}

}  // namespace

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

void clipToRoundedRectangle(QWindow& window, double cornerRadius) {
  const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  if (!x11) return;
  auto* connection = x11->connection();
  const auto native = static_cast<xcb_window_t>(window.winId());
  if (isComposited(connection)) {
    xcb_shape_mask(connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, native, 0, 0,
                   XCB_PIXMAP_NONE);
    return;
  }
  const auto rows = pixelsInside(window.size(), cornerRadius, window.devicePixelRatio());
  xcb_shape_rectangles(connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING,
                       XCB_CLIP_ORDERING_YX_BANDED, native, 0, 0,
                       static_cast<std::uint32_t>(rows.size()), rows.data());
}

FrameAutosave::FrameAutosave(DefaultsStore& store, QWindow& window, std::string_view name)
    : store_(store), window_(window), key_("Window Frame " + std::string(name)) {
  window_.installEventFilter(this);
}

FrameAutosave::~FrameAutosave() {
  remember();
}

bool FrameAutosave::restore() {
  const auto value = store_.objectForKey(key_);
  const auto* text = value ? std::get_if<std::string>(&*value) : nullptr;
  int x = 0;
  int y = 0;
  if (!text || std::sscanf(text->c_str(), "%d %d", &x, &y) != 2) return false;
  // The screen on which the window was left may be gone.
  const QRect frame({x, y}, window_.size());
  const QRect area = areaAround(frame);
  if (area.isEmpty()) return false;
  window_.setFramePosition(movedInto(area, frame).topLeft());
  return true;
}

void FrameAutosave::remember() {
  if (!window_.isVisible()) return;
  const QPoint corner = window_.framePosition();
  const std::string text = std::to_string(corner.x()) + ' ' + std::to_string(corner.y());
  // A position that can't be stored is not worth an alert.
  (void)store_.setObjectForKey(text, key_);
}

bool FrameAutosave::eventFilter(QObject*, QEvent* event) {
  if (event->type() == QEvent::Close) remember();
  return false;
}

}  // namespace tapeloop::qt
