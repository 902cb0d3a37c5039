#pragma once

#include <QtCore/QObject>
#include <QtGui/QColor>
#include <QtQml/qqmlregistration.h>

#include "capture/capture_state.h"
#include "platform/qt/color.h"

namespace tapeloop {

/// The fixed colours of the program, for QML. All others come from the system's palette.
class Colors : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_SINGLETON
  Q_PROPERTY(QColor red MEMBER red CONSTANT)
  Q_PROPERTY(QColor redPressed MEMBER redPressed CONSTANT)
  Q_PROPERTY(QColor green MEMBER green CONSTANT)
  Q_PROPERTY(QColor greenPressed MEMBER greenPressed CONSTANT)
  Q_PROPERTY(QColor checkMark MEMBER checkMark CONSTANT)
  /// The background of notices over a light and over a dark window.
  Q_PROPERTY(QColor panel MEMBER panel CONSTANT)
  Q_PROPERTY(QColor darkPanel MEMBER darkPanel CONSTANT)

 public:
  const QColor red = toQt(tapeloopRed);
  const QColor redPressed{180, 50, 40};
  const QColor green{43, 150, 72};
  const QColor greenPressed{0, 107, 0};
  const QColor checkMark{0x2b, 0xa8, 0x4a};
  const QColor panel{0xf4, 0xf4, 0xf6};
  const QColor darkPanel{0x3a, 0x3a, 0x3c};
};

}  // namespace tapeloop
