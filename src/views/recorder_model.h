#pragma once

#include <optional>
#include <vector>

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtQml/qqmlregistration.h>
#include <QtQuick/QQuickItem>

#include "hotkeys/recorder_cocoa.h"

namespace tapeloop {

/// What the QML of a recorder field binds to. Main thread only.
class RecorderModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("comes with the window")
  Q_PROPERTY(QString text READ text NOTIFY textChanged)
  Q_PROPERTY(QString placeholder READ placeholder NOTIFY placeholderChanged)
  Q_PROPERTY(bool showsCancelButton READ showsCancelButton NOTIFY showsCancelButtonChanged)
  Q_PROPERTY(bool isRecording READ isRecording NOTIFY isRecordingChanged)
  Q_PROPERTY(double minimumWidth READ minimumWidth CONSTANT)
  Q_PROPERTY(bool showingAlert READ showingAlert NOTIFY showingAlertChanged)
  Q_PROPERTY(QString alertTitle READ alertTitle NOTIFY alertTextsChanged)
  Q_PROPERTY(QString alertText READ alertText NOTIFY alertTextsChanged)

 public:
  /// `recorder` outlives the model.
  explicit RecorderModel(RecorderCocoa& recorder);

  [[nodiscard]] QString text() const { return QString::fromStdString(recorder_.stringValue.get()); }
  [[nodiscard]] QString placeholder() const {
    return QString::fromStdString(recorder_.placeholderString.get());
  }
  [[nodiscard]] bool showsCancelButton() const { return recorder_.showsCancelButton.get(); }
  [[nodiscard]] bool isRecording() const { return recorder_.isRecording.get(); }
  [[nodiscard]] double minimumWidth() const { return RecorderCocoa::minimumWidth; }
  [[nodiscard]] bool showingAlert() const { return recorder_.alert.get().has_value(); }
  /// Keep what they last were when the alert closes.
  [[nodiscard]] QString alertTitle() const { return QString::fromStdString(alert_.title); }
  [[nodiscard]] QString alertText() const { return QString::fromStdString(alert_.informativeText); }

  /// The item that draws the field.
  Q_INVOKABLE void setField(QQuickItem* field);
  Q_INVOKABLE void becomeFirstResponder() { recorder_.becomeFirstResponder(); }
  Q_INVOKABLE void resignFirstResponder() { recorder_.resignFirstResponder(); }
  Q_INVOKABLE void cancelButtonPressed() { recorder_.cancelButtonPressed(); }
  Q_INVOKABLE void dismissAlert() { recorder_.dismissAlert(); }

 Q_SIGNALS:
  void textChanged();
  void placeholderChanged();
  void showsCancelButtonChanged();
  void isRecordingChanged();
  void alertTextsChanged();
  void showingAlertChanged();
  void focusRequested(bool wanted);

 private:
  RecorderCocoa& recorder_;
  RecorderAlert alert_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tapeloop
