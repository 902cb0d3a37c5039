#include "views/saved_recordings_model.h"

#include <algorithm>
#include <limits>
#include <string>

#include "views/conversions.h"

namespace tapeloop {
namespace {

// A text that screen readers are told ends with the first zero: a sign stands for it.
constexpr QChar zero(u'\0');
constexpr QChar signOfZero(u'\u2400');

}  // namespace

SavedRecordingsModel::SavedRecordingsModel(ContentView& view)
    : view_(view), state_(view.libraryState()) {
  const auto pass = [this](auto& values, Role role) {
    subscriptions_.push_back(
        values.subscribe([this, role](std::size_t row) { changed(row, role); }));
  };
  pass(state_.rows.selectedRecordingName, recordingName);
  pass(state_.rows.loadButtonOpacity, loadOpacity);
  pass(state_.rows.individualBackground, rowColor);
  pass(state_.rows.trashButtonOpacity, trashOpacity);
  pass(state_.rows.trashButtonHasFocus, trashOpacity);
  subscriptions_.push_back(state_.rowCount.subscribe([this] { changeRowCount(); }));
  changeRowCount();
}

int SavedRecordingsModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : count_;
}

QVariant SavedRecordingsModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= count_) return {};
  const auto row = static_cast<std::size_t>(index.row());
  switch (role) {
    case recordingName:
      return QString::fromStdString(state_.rows.selectedRecordingName.get(row))
          .replace(zero, signOfZero);
    case loadOpacity:
      return state_.rows.loadButtonOpacity.get(row);
    case rowColor:
      return toQt(state_.rows.individualBackground.get(row));
    case trashOpacity:
      return state_.rows.shownTrashButtonOpacity(row);
    default:
      return {};
  }
}

QHash<int, QByteArray> SavedRecordingsModel::roleNames() const {
  return {{recordingName, "recordingName"},
          {loadOpacity, "loadOpacity"},
          {rowColor, "rowColor"},
          {trashOpacity, "trashOpacity"}};
}

void SavedRecordingsModel::appear(int row) {
  view_.library().rowAppeared(static_cast<std::size_t>(row));
}
void SavedRecordingsModel::load(int row) {
  view_.loadButtonPressed(static_cast<std::size_t>(row));
}
void SavedRecordingsModel::loadFromMenu(int row) {
  view_.library().loadSavedRecording(LoadVariant::contextMenu, static_cast<std::size_t>(row));
}
// A row that is going has no place any more, and may still be told that the pointer leaves it.
void SavedRecordingsModel::edit(int row, const QString& text) {
  if (row < 0) return;
  auto& names = state_.rows.selectedRecordingName;
  const auto place = static_cast<std::size_t>(row);
  QString name = text;
  if (names.get(place).find('\0') != std::string::npos) name.replace(signOfZero, zero);
  names.set(place, name.toStdString());
}
void SavedRecordingsModel::rename(int row) {
  view_.library().renameSavedRecording(static_cast<std::size_t>(row));
}
void SavedRecordingsModel::remove(int row) {
  view_.trashButtonPressed(static_cast<std::size_t>(row));
}
QString SavedRecordingsModel::drag(int row) {
  return QString::fromStdString(view_.library().dragRecording(static_cast<std::size_t>(row)));
}
void SavedRecordingsModel::hoverRow(int row, bool hovering) {
  if (row < 0) return;
  state_.rows.hoverRow(static_cast<std::size_t>(row), hovering);
}
void SavedRecordingsModel::hoverLoad(int row, bool hovering) {
  if (row < 0) return;
  state_.rows.hoverLoadButton(static_cast<std::size_t>(row), hovering);
}
void SavedRecordingsModel::hoverTrash(int row, bool hovering) {
  if (row < 0) return;
  state_.rows.hoverTrashButton(static_cast<std::size_t>(row), hovering);
}
void SavedRecordingsModel::focusTrash(int row, bool focused) {
  if (row < 0) return;
  state_.rows.trashButtonHasFocus.set(static_cast<std::size_t>(row), focused);
}

// Rows come and go at the end: what moves up on a deletion are the entries, not the rows.
void SavedRecordingsModel::changeRowCount() {
  const int count = static_cast<int>(
      std::min<std::size_t>(state_.rowCount.get(), std::numeric_limits<int>::max()));
  if (count > count_) {
    beginInsertRows({}, count_, count - 1);
    count_ = count;
    endInsertRows();
  } else if (count < count_) {
    const int before = count_;
    beginRemoveRows({}, count, count_ - 1);
    count_ = count;
    endRemoveRows();
    for (int row = count; row < before; ++row) {
      hoverLoad(row, false);
      hoverTrash(row, false);
      focusTrash(row, false);
      hoverRow(row, false);
    }
  }
}

void SavedRecordingsModel::changed(std::size_t row, Role role) {
  if (row >= static_cast<std::size_t>(count_)) return;
  const QModelIndex place = index(static_cast<int>(row));
  Q_EMIT dataChanged(place, place, {role});
}

}  // namespace tapeloop
