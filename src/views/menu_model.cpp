#include "views/menu_model.h"

#include <cstddef>

#include <QtCore/QCoreApplication>
#include <QtGui/QGuiApplication>

namespace tapeloop {

// The main menu has one item, which stands for the program and holds the items that are shown.
MenuModel::MenuModel(const Menu& mainMenu)
    : items_(mainMenu.items.empty() ? std::vector<MenuItem>{}
                                    : mainMenu.items.front().submenu.items) {}

QStringList MenuModel::titles() const {
  QStringList titles;
  for (const MenuItem& item : items_) titles.append(QString::fromStdString(item.title));
  return titles;
}

QStringList MenuModel::keys() const {
  QStringList keys;
  for (const MenuItem& item : items_) {
    keys.append(QString::fromStdString(item.keyEquivalent).toUpper());
  }
  return keys;
}

void MenuModel::choose(int item) {
  if (item < 0 || static_cast<std::size_t>(item) >= items_.size()) return;
  switch (items_[static_cast<std::size_t>(item)].action) {
    case MenuAction::orderFrontStandardAboutPanel:
      Q_EMIT aboutPanelRequested();
      break;
    case MenuAction::terminate:
      terminate();
      break;
    case MenuAction::none:
    case MenuAction::separator:
      break;
  }
}

void MenuModel::quitKeyPressed() {
  if (!QGuiApplication::modalWindow()) terminate();
}

// Not by `quit`, which closes the windows first and may be refused by one of them.
void MenuModel::terminate() {
  QCoreApplication::exit(0);
}

}  // namespace tapeloop
