#include "views/menu_model.h"

#include <cstddef>
#include <cstdint>
#include <utility>

#include <QtCore/QCoreApplication>
#include <QtGui/QGuiApplication>

namespace tapeloop {
namespace {

// In the notation of QKeySequence.
QString keySequence(std::uint64_t modifiers, const std::string& key) {
  const std::pair<std::uint64_t, const char*> names[] = {{modifier_flag::command, "Meta+"},
                                                         {modifier_flag::control, "Ctrl+"},
                                                         {modifier_flag::option, "Alt+"},
                                                         {modifier_flag::shift, "Shift+"}};
  QString sequence;
  for (const auto& [flag, name] : names) {
    if (modifiers & flag) sequence += QLatin1String(name);
  }
  return sequence + QString::fromStdString(key).toUpper();
}

}  // namespace

// The main menu has one item, which stands for the program and holds the items that are shown.
MenuModel::MenuModel(QObject* parent, const Menu& mainMenu)
    : QObject(parent),
      items_(mainMenu.items.empty() ? std::vector<MenuItem>{}
                                    : mainMenu.items.front().submenu.items) {}

QStringList MenuModel::titles() const {
  QStringList titles;
  for (const MenuItem& item : items_) titles.append(QString::fromStdString(item.title));
  return titles;
}

QStringList MenuModel::keys() const {
  QStringList keys;
  for (int item = 0; at(item); ++item) {
    const QVariantList sequences = keySequences(item);
    keys.append(sequences.isEmpty() ? QString() : sequences.back().toString());
  }
  return keys;
}

QVariantList MenuModel::keySequences(int item) const {
  QVariantList sequences;
  const MenuItem* const found = at(item);
  if (!found || found->keyEquivalent.empty()) return sequences;
  for (const std::uint64_t modifiers : found->keyEquivalentModifierMasks) {
    sequences.append(keySequence(modifiers, found->keyEquivalent));
  }
  return sequences;
}

void MenuModel::choose(int item) {
  const MenuItem* const found = at(item);
  if (!found) return;
  switch (found->action) {
    case MenuAction::orderFrontStandardAboutPanel:
      Q_EMIT aboutPanelRequested();
      break;
    case MenuAction::terminate:
      // `quit` would close the windows first, and an open alert refuses to close.
      QCoreApplication::exit(0);
      break;
    case MenuAction::none:
    case MenuAction::separator:
      break;
  }
}

void MenuModel::keyPressed(int item) {
  if (!QGuiApplication::modalWindow()) choose(item);
}

const MenuItem* MenuModel::at(int item) const {
  const auto index = static_cast<std::size_t>(item);
  return item >= 0 && index < items_.size() ? &items_[index] : nullptr;
}

}  // namespace tapeloop
