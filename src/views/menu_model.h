#pragma once

#include <vector>

#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtQml/qqmlregistration.h>

#include "platform/main_menu.h"

namespace tapeloop {

/// The items of the program's menu, for the QML that draws it, and their actions. Main thread only.
class MenuModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("comes with the window")
  /// A separator has no title.
  Q_PROPERTY(QStringList titles READ titles CONSTANT)
  /// The keys that are pressed with Control; empty: none.
  Q_PROPERTY(QStringList keys READ keys CONSTANT)

 public:
  explicit MenuModel(const Menu& mainMenu);

  [[nodiscard]] QStringList titles() const;
  [[nodiscard]] QStringList keys() const;
  Q_INVOKABLE void choose(int item);
  /// Ends the program, unless a message has to be dismissed first.
  Q_INVOKABLE void quitKeyPressed();

 Q_SIGNALS:
  void aboutPanelRequested();

 private:
  static void terminate();

  std::vector<MenuItem> items_;
};

}  // namespace tapeloop
