#pragma once

#include <vector>

#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtQml/qqmlregistration.h>

#include "platform/desktop_services.h"

namespace tapeloop {

/// The items of the program's menu, for the QML that draws it, and their actions. Main thread only.
class MenuModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("comes with the window")
  /// A separator has no title.
  Q_PROPERTY(QStringList titles READ titles CONSTANT)
  /// What is pressed for each item; empty: there is no key. Of several ways, the desktop's own.
  Q_PROPERTY(QStringList keys READ keys CONSTANT)

 public:
  explicit MenuModel(const Menu& mainMenu);

  [[nodiscard]] QStringList titles() const;
  [[nodiscard]] QStringList keys() const;
  /// Every way to press the item's key.
  [[nodiscard]] Q_INVOKABLE QVariantList keySequences(int item) const;
  Q_INVOKABLE void choose(int item);
  /// The same, unless a message has to be dismissed first.
  Q_INVOKABLE void keyPressed(int item);

 Q_SIGNALS:
  void aboutPanelRequested();

 private:
  [[nodiscard]] const MenuItem* at(int item) const;

  std::vector<MenuItem> items_;
};

}  // namespace tapeloop
