#pragma once

#include <QtGui/QIcon>
#include <QtQuick/QQuickImageProvider>

namespace tapeloop {

/// Draws the program's symbols at the size that is asked for. An image is named "NAME/COLOUR", with
/// the colour that the symbol takes, or "NAME" for one that keeps its own. May be called from any
/// thread.
class SymbolProvider final : public QQuickImageProvider {
 public:
  SymbolProvider();
  QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

  /// The program's icon, for window managers.
  [[nodiscard]] static QIcon programIcon();
};

}  // namespace tapeloop
