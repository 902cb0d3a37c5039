#include "views/library_model.h"

#include <algorithm>
#include <limits>
#include <string>

namespace tapeloop {
namespace {

// Screen readers get a text up to its first zero, so a sign is shown for each zero.
constexpr QChar zero(u'\0');
constexpr QChar signOfZero(u'\u2400');

}  // namespace

SavedRecordingsModel::SavedRecordingsModel(QObject* parent, ContentView& view)
    : QAbstractListModel(parent),
      view_(view),
      rowChanged_(state_.rows.subscribe([this](std::size_t row) {
        if (row >= static_cast<std::size_t>(count_)) return;
        const QModelIndex place = index(static_cast<int>(row));
        Q_EMIT dataChanged(place, place);
      })),
      rowCountChanged_(state_.rowCount.subscribe([this] { changeRowCount(); })) {
  changeRowCount();
}

int SavedRecordingsModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : count_;
}

QVariant SavedRecordingsModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= count_) return {};
  const SavedRecordingRow& row = state_.rows[static_cast<std::size_t>(index.row())];
  switch (role) {
    case recordingName:
      return QString::fromStdString(row.selectedRecordingName).replace(zero, signOfZero);
    case loadOpacity:
      return row.loadButtonOpacity;
    case rowColor:
      return toQt(row.individualBackground);
    case trashOpacity:
      return row.shownTrashButtonOpacity();
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

QStringList SavedRecordingsModel::menuTitles() {
  QStringList titles;
  for (const auto& item : RecordingLibrary::rowMenu()) titles.append(QString::fromUtf8(item.title));
  return titles;
}
void SavedRecordingsModel::chooseFromMenu(int item, int row) {
  RecordingLibrary::rowMenu()[static_cast<std::size_t>(item)].choose(library_,
                                                                     static_cast<std::size_t>(row));
}
void SavedRecordingsModel::appear(int row) {
  library_.rowAppeared(static_cast<std::size_t>(row));
}
void SavedRecordingsModel::load(int row) {
  view_.loadButtonPressed(static_cast<std::size_t>(row));
}
void SavedRecordingsModel::rename(int row) {
  library_.renameSavedRecording(static_cast<std::size_t>(row));
}
void SavedRecordingsModel::remove(int row) {
  view_.trashButtonPressed(static_cast<std::size_t>(row));
}
QString SavedRecordingsModel::drag(int row) {
  return QString::fromStdString(library_.dragRecording(static_cast<std::size_t>(row)));
}

// A row that is being removed has the index -1, and its item may still report that the pointer
// leaves it.

void SavedRecordingsModel::edit(int row, const QString& text) {
  if (row < 0) return;
  const auto place = static_cast<std::size_t>(row);
  QString name = text;
  if (state_.rows[place].selectedRecordingName.find('\0') != std::string::npos) {
    name.replace(signOfZero, zero);
  }
  state_.rows.setName(place, name.toStdString());
}
void SavedRecordingsModel::hoverRow(int row, bool hovering) {
  if (row >= 0) state_.rows.hoverRow(static_cast<std::size_t>(row), hovering);
}
void SavedRecordingsModel::hoverLoad(int row, bool hovering) {
  if (row >= 0) state_.rows.hoverLoadButton(static_cast<std::size_t>(row), hovering);
}
void SavedRecordingsModel::hoverTrash(int row, bool hovering) {
  if (row >= 0) state_.rows.hoverTrashButton(static_cast<std::size_t>(row), hovering);
}
void SavedRecordingsModel::focusTrash(int row, bool focused) {
  if (row >= 0) state_.rows.focusTrashButton(static_cast<std::size_t>(row), focused);
}
void SavedRecordingsModel::leave(int row) {
  hoverLoad(row, false);
  hoverTrash(row, false);
  focusTrash(row, false);
  hoverRow(row, false);
}

// Rows are added and removed at the end: when an entry is deleted the entries below it move up, and
// the rows stay.
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
    for (int row = count; row < before; ++row) leave(row);
  }
}

}  // namespace tapeloop
