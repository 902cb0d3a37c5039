#include "views/recorder_model.h"

#include <QtCore/QMetaObject>
#include <QtCore/QPointer>
#include <QtCore/QRectF>

#include "views/forwarding.h"

namespace tapeloop {

RecorderModel::RecorderModel(RecorderCocoa& recorder) : recorder_(recorder) {
  forward(subscriptions_, recorder.stringValue, this, &RecorderModel::textChanged);
  forward(subscriptions_, recorder.placeholderString, this, &RecorderModel::placeholderChanged);
  forward(subscriptions_, recorder.showsCancelButton, this,
          &RecorderModel::showsCancelButtonChanged);
  forward(subscriptions_, recorder.isRecording, this, &RecorderModel::isRecordingChanged);
  subscriptions_.push_back(recorder.alert.subscribe([this] {
    if (recorder_.alert.get()) {
      alert_ = *recorder_.alert.get();
      Q_EMIT alertTextsChanged();
    }
  }));
  // Not while the key that was refused is still on its way.
  forwardLater(subscriptions_, recorder.alert, this, &RecorderModel::showingAlertChanged);
  // Nor does the keyboard change hands then.
  subscriptions_.push_back(recorder.onFocusRequest([this](bool wanted) {
    QMetaObject::invokeMethod(
        this, [this, wanted] { Q_EMIT focusRequested(wanted); }, Qt::QueuedConnection);
  }));
}

void RecorderModel::setField(QQuickItem* field) {
  recorder_.setBounds([field = QPointer<QQuickItem>(field)]() -> Rect {
    if (!field) return {};
    const QRectF place = field->mapRectToScene({0, 0, field->width(), field->height()});
    return {{place.x(), place.y()}, {place.width(), place.height()}};
  });
}

}  // namespace tapeloop
