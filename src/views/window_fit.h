#pragma once

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtQml/qqmlregistration.h>
#include <QtQuick/QQuickWindow>

namespace tapeloop {

/// Gives a window without a frame the size of its content, and keeps it on its screen as it grows.
/// Main thread only.
class WindowFit : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(QQuickWindow* window READ window WRITE setWindow NOTIFY windowChanged REQUIRED)
  /// Of the screen that the window is on.
  Q_PROPERTY(int availableHeight READ availableHeight NOTIFY availableHeightChanged)

 public:
  [[nodiscard]] QQuickWindow* window() const { return window_; }
  void setWindow(QQuickWindow* window);
  [[nodiscard]] int availableHeight() const;

  Q_INVOKABLE void fit(int width, int height);

 Q_SIGNALS:
  void windowChanged();
  void availableHeightChanged();

 private:
  void followScreen();

  QPointer<QQuickWindow> window_;
  QMetaObject::Connection areaOfScreen_;
};

}  // namespace tapeloop
