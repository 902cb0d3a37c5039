#pragma once

#include <memory>

#include <QtCore/QObject>
#include <QtQml/qqmlregistration.h>

#include "capture/indicator_windows.h"

namespace tapeloop {

/// What the "REC" pill's QML binds to. Main thread only.
class RecordingViewModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("comes with the pill")
  Q_PROPERTY(double circleOpacity READ circleOpacity NOTIFY circleOpacityChanged)

 public:
  explicit RecordingViewModel(std::shared_ptr<RecordingView> view);

  [[nodiscard]] double circleOpacity() const { return view_->circleOpacity().get(); }

 Q_SIGNALS:
  void circleOpacityChanged();

 private:
  const std::shared_ptr<RecordingView> view_;
  Subscription subscription_;
};

}  // namespace tapeloop
