#pragma once

#include <QtGui/QIcon>
#include <QtQuick/QQuickImageProvider>

namespace tapeloop {

/// Renders the program's symbols at the requested size. The image name is "NAME/COLOUR" for a
/// symbol in that colour, or "NAME" for one in its own colours. May be called from any thread.
class SymbolProvider final : public QQuickImageProvider {
 public:
  SymbolProvider();
  QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

  /// The program's icon, for window managers.
  [[nodiscard]] static QIcon programIcon();
};

}  // namespace tapeloop
