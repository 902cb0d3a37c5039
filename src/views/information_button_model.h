#pragma once

#include <functional>
#include <vector>

#include <QtCore/QObject>
#include <QtQml/qqmlregistration.h>

#include "controller/information_button.h"

namespace tapeloop {

/// What the QML of the information button and of its alert binds to. Main thread only.
class InformationButtonModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("comes with the window")
  Q_PROPERTY(double buttonOpacity READ buttonOpacity NOTIFY buttonOpacityChanged)
  Q_PROPERTY(bool showingAlert READ showingAlert NOTIFY showingAlertChanged)

 public:
  /// `button` outlives the model. `press` is what a press of it does.
  InformationButtonModel(InformationButton& button, std::function<void()> press);

  [[nodiscard]] double buttonOpacity() const { return button_.infoButtonOpacity.get(); }
  [[nodiscard]] bool showingAlert() const { return button_.showingAlert.get(); }

  Q_INVOKABLE void press() { press_(); }
  Q_INVOKABLE void hover(bool hovering) { button_.hover(hovering); }
  Q_INVOKABLE void dismissAlert() { button_.dismissAlert(); }
  Q_INVOKABLE void openPrivacyPolicy() { button_.openPrivacyPolicy(); }

 Q_SIGNALS:
  void buttonOpacityChanged();
  void showingAlertChanged();

 private:
  InformationButton& button_;
  const std::function<void()> press_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tapeloop
