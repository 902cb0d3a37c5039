#pragma once

#include <vector>

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtGui/QColor>
#include <QtQml/qqmlregistration.h>

#include "controller/content_view.h"

namespace tapeloop {

/// What the main window's QML binds to: the controller's state as properties, its actions as
/// calls. Main thread only.
class ContentViewModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("comes with the window")
  Q_PROPERTY(QString recordCaption READ recordCaption NOTIFY recordCaptionChanged)
  Q_PROPERTY(
      bool recordCaptionIsCallout READ recordCaptionIsCallout NOTIFY recordCaptionIsCalloutChanged)
  Q_PROPERTY(QColor unpressedColor READ unpressedColor NOTIFY unpressedColorChanged)
  Q_PROPERTY(double startStopOpacity READ startStopOpacity NOTIFY startStopOpacityChanged)
  Q_PROPERTY(bool buttonDisabled READ buttonDisabled NOTIFY buttonDisabledChanged)
  Q_PROPERTY(bool showingAuthAlert READ showingAuthAlert NOTIFY showingAuthAlertChanged)
  Q_PROPERTY(bool showingPlayAlert READ showingPlayAlert NOTIFY showingPlayAlertChanged)

 public:
  /// `view` outlives the model.
  explicit ContentViewModel(ContentView& view);

  [[nodiscard]] QString recordCaption() const;
  [[nodiscard]] bool recordCaptionIsCallout() const;
  [[nodiscard]] QColor unpressedColor() const;
  [[nodiscard]] double startStopOpacity() const;
  [[nodiscard]] bool buttonDisabled() const;
  [[nodiscard]] bool showingAuthAlert() const;
  [[nodiscard]] bool showingPlayAlert() const;

  Q_INVOKABLE void recordButtonPressed() { view_.recordButtonPressed(); }
  Q_INVOKABLE void playButtonPressed() { view_.playButtonPressed(); }
  Q_INVOKABLE void escapeKeyPressed() { view_.escapeKeyPressed(); }
  Q_INVOKABLE void dismissAuthAlert() { view_.dismissAuthAlert(); }
  Q_INVOKABLE void dismissPlayAlert() { view_.dismissPlayAlert(); }

 Q_SIGNALS:
  void recordCaptionChanged();
  void recordCaptionIsCalloutChanged();
  void unpressedColorChanged();
  void startStopOpacityChanged();
  void buttonDisabledChanged();
  void showingAuthAlertChanged();
  void showingPlayAlertChanged();

 private:
  ContentView& view_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tapeloop
