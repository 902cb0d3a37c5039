#pragma once

#include <vector>

#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtQml/qqmlregistration.h>

#include "platform/desktop_services.h"

namespace tapeloop {

/// The items of the program's menu, for the QML that draws it, and their actions.
class MenuModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("belongs to the window")
  /// A separator has no title.
  Q_PROPERTY(QStringList titles READ titles CONSTANT)
  /// The key of each item, as the menu shows it; empty: there is none. Of several combinations the
  /// last one, which is the one with Control.
  Q_PROPERTY(QStringList keys READ keys CONSTANT)

 public:
  MenuModel(QObject* parent, const Menu& mainMenu);

  [[nodiscard]] QStringList titles() const;
  [[nodiscard]] QStringList keys() const;
  /// Every combination for the item.
  [[nodiscard]] Q_INVOKABLE QVariantList keySequences(int item) const;
  Q_INVOKABLE void choose(int item);
  /// The same, unless an alert has to be dismissed first.
  Q_INVOKABLE void keyPressed(int item);

 Q_SIGNALS:
  void aboutPanelRequested();

 private:
  [[nodiscard]] const MenuItem* at(int item) const;

  std::vector<MenuItem> items_;
};

}  // namespace tapeloop
