#pragma once

#include <vector>

#include <QtCore/QObject>
#include <QtQml/qqmlregistration.h>

#include "controller/content_view.h"

namespace tapeloop {

/// What the QML of the three toolbar buttons binds to. Main thread only.
class ToolbarModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("comes with the window")
  Q_PROPERTY(double settingsOpacity READ settingsOpacity NOTIFY settingsOpacityChanged)
  Q_PROPERTY(double saveOpacity READ saveOpacity NOTIFY saveOpacityChanged)
  Q_PROPERTY(double listOpacity READ listOpacity NOTIFY listOpacityChanged)

 public:
  /// `view` outlives the model.
  explicit ToolbarModel(ContentView& view);

  [[nodiscard]] double settingsOpacity() const { return bar_.settingsButtonOpacity.get(); }
  [[nodiscard]] double saveOpacity() const { return bar_.saveButtonOpacity.get(); }
  [[nodiscard]] double listOpacity() const { return bar_.listButtonOpacity.get(); }

  Q_INVOKABLE void settingsButtonPressed() { view_.settingsButtonPressed(); }
  Q_INVOKABLE void saveButtonPressed() { view_.saveButtonPressed(); }
  Q_INVOKABLE void listButtonPressed() { view_.listButtonPressed(); }
  Q_INVOKABLE void hoverSettings(bool over) { bar_.hover(ToolbarButton::settings, over); }
  Q_INVOKABLE void hoverSave(bool over) { bar_.hover(ToolbarButton::save, over); }
  Q_INVOKABLE void hoverList(bool over) { bar_.hover(ToolbarButton::list, over); }

 Q_SIGNALS:
  void settingsOpacityChanged();
  void saveOpacityChanged();
  void listOpacityChanged();

 private:
  ContentView& view_;
  Toolbar& bar_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tapeloop
