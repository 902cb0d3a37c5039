#pragma once

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QSize>
#include <QtQml/qqmlregistration.h>
#include <QtQuick/QQuickWindow>

namespace tapeloop {

/// Gives a frameless window the size of its content, at most that of the screen, and keeps it on
/// the screen as it grows.
class WindowFit : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(QQuickWindow* window READ window WRITE setWindow NOTIFY windowChanged REQUIRED)
  /// The size of the content.
  Q_PROPERTY(
      QSizeF wantedSize READ wantedSize WRITE setWantedSize NOTIFY wantedSizeChanged REQUIRED)

 public:
  [[nodiscard]] QQuickWindow* window() const { return window_; }
  void setWindow(QQuickWindow* window);
  [[nodiscard]] QSizeF wantedSize() const { return wantedSize_; }
  void setWantedSize(QSizeF size);

 Q_SIGNALS:
  void windowChanged();
  void wantedSizeChanged();

 private:
  void followScreen();
  void fit();

  QPointer<QQuickWindow> window_;
  QSizeF wantedSize_;
  QMetaObject::Connection areaOfScreen_;
};

}  // namespace tapeloop
