#pragma once

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QSize>
#include <QtQml/qqmlregistration.h>
#include <QtQuick/QQuickWindow>

namespace tapeloop {

/// Gives a window without a frame the size of its content, as far as its screen has room for it,
/// and keeps it there as it grows. Main thread only.
class WindowFit : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(QQuickWindow* window READ window WRITE setWindow NOTIFY windowChanged REQUIRED)
  /// The content's.
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
