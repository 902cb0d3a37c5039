#include "platform/qt/window_shape.h"

#include <cstdint>
#include <string_view>
#include <vector>

#include <QtGui/QGuiApplication>
#include <QtGui/QImage>
#include <QtGui/QPainter>
#include <QtGui/QWindow>
#include <QtGui/qguiapplication_platform.h>
#include <xcb/shape.h>
#include <xcb/xcb.h>

#include "platform/system/handles.h"

namespace tapeloop::qt {
namespace {

using system::own;

bool isComposited(xcb_connection_t* connection) {
  constexpr std::string_view compositor = "_NET_WM_CM_S0";
  const auto request = xcb_intern_atom(connection, 1, static_cast<std::uint16_t>(compositor.size()),
                                       compositor.data());
  const auto selection = own(xcb_intern_atom_reply(connection, request, nullptr));
  if (!selection || selection->atom == XCB_ATOM_NONE) return false;
  const auto owner = own(xcb_get_selection_owner_reply(
      connection, xcb_get_selection_owner(connection, selection->atom), nullptr));
  return owner && owner->owner != XCB_WINDOW_NONE;
}

/// The pixels that are wholly inside: one that the edge runs through would be mixed with black.
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

}  // namespace tapeloop::qt
