#pragma once

#include <cstddef>
#include <vector>

#include <QtCore/QAbstractListModel>
#include <QtCore/QString>
#include <QtQml/qqmlregistration.h>

#include "controller/content_view.h"

namespace tapeloop {

/// The rows of the library's list, by position, and what is done with one of them. Main thread
/// only.
class SavedRecordingsModel : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("comes with the window")

 public:
  enum Role { recordingName = Qt::UserRole, loadOpacity, rowColor, trashOpacity };

  /// `view` outlives the model.
  explicit SavedRecordingsModel(ContentView& view);

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

  Q_INVOKABLE void appear(int row);
  Q_INVOKABLE void load(int row);
  Q_INVOKABLE void loadFromMenu(int row);
  /// The text of the row's field, which is stored only by `rename`.
  Q_INVOKABLE void edit(int row, const QString& text);
  Q_INVOKABLE void rename(int row);
  Q_INVOKABLE void remove(int row);
  /// A drag starts. Returns the text that is dragged.
  Q_INVOKABLE QString drag(int row);

  Q_INVOKABLE void hoverRow(int row, bool hovering);
  Q_INVOKABLE void hoverLoad(int row, bool hovering);
  Q_INVOKABLE void hoverTrash(int row, bool hovering);
  Q_INVOKABLE void focusTrash(int row, bool focused);

 private:
  void changeRowCount();
  void changed(std::size_t row, Role role);

  ContentView& view_;
  LibraryState& state_;
  int count_ = 0;  // as Qt was told
  std::vector<Subscription> subscriptions_;
};

}  // namespace tapeloop
