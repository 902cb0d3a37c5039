#include "views/symbol_provider.h"

#include <QtCore/QDir>
#include <QtGui/QPainter>
#include <QtSvg/QSvgRenderer>

// Q_INIT_RESOURCE must be used outside of namespaces.
static void initializeIcons() {
  Q_INIT_RESOURCE(icons);
}

namespace tapeloop {
namespace {

constexpr QSize defaultSize{24, 24};

QImage render(const QString& name, QSize size, const QColor& tint) {
  QSvgRenderer renderer(QStringLiteral(":/icons/") + name + QStringLiteral(".svg"));
  QImage image(size, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  if (!renderer.isValid()) return image;
  QPainter painter(&image);
  renderer.render(&painter);
  if (tint.isValid()) {
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), tint);
  }
  return image;
}

}  // namespace

SymbolProvider::SymbolProvider() : QQuickImageProvider(QQuickImageProvider::Image) {
  initializeIcons();
}

QImage SymbolProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
  const auto parts = id.split(QLatin1Char('/'));
  const QColor tint = parts.size() > 1 ? QColor(QLatin1Char('#') + parts[1]) : QColor();
  const QSize wanted = requestedSize.isEmpty() ? defaultSize : requestedSize;
  if (size) *size = wanted;
  return render(parts[0], wanted, tint);
}

QIcon SymbolProvider::programIcon() {
  initializeIcons();
  QIcon icon;
  for (const int side : {16, 32, 48, 64, 128}) {
    const auto name = side > 32 ? QStringLiteral("tapeloop") : QStringLiteral("tapeloop-small");
    icon.addPixmap(QPixmap::fromImage(render(name, {side, side}, {})));
  }
  return icon;
}

}  // namespace tapeloop
