#pragma once

#include <cstddef>

#include <QtCore/QAbstractListModel>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtQml/qqmlregistration.h>

#include "controller/content_view.h"
#include "views/values.h"

namespace tapeloop {

/// The rows of the library's list, by position, and what is done with one of them.
class SavedRecordingsModel final : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("belongs to the window")
  /// The items of a row's menu.
  Q_PROPERTY(QStringList menuTitles READ menuTitles CONSTANT)

 public:
  enum Role { recordingName = Qt::UserRole, loadOpacity, rowColor, trashOpacity };

  SavedRecordingsModel(QObject* parent, ContentView& view);

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

  [[nodiscard]] static QStringList menuTitles();
  Q_INVOKABLE void chooseFromMenu(int item, int row);
  Q_INVOKABLE void appear(int row);
  Q_INVOKABLE void load(int row);
  /// Sets the text of the row's field, which only `rename` stores.
  Q_INVOKABLE void edit(int row, const QString& text);
  Q_INVOKABLE void rename(int row);
  Q_INVOKABLE void remove(int row);
  /// A drag starts. Returns the text that is dragged.
  Q_INVOKABLE QString drag(int row);
  Q_INVOKABLE void hoverRow(int row, bool hovering);
  Q_INVOKABLE void hoverLoad(int row, bool hovering);
  Q_INVOKABLE void hoverTrash(int row, bool hovering);
  Q_INVOKABLE void focusTrash(int row, bool focused);
  /// The row is no longer under the pointer and has no keyboard focus.
  Q_INVOKABLE void leave(int row);

 private:
  void changeRowCount();

  ContentView& view_;
  RecordingLibrary& library_ = view_.library();
  LibraryState& state_ = view_.libraryState();
  int count_ = 0;  // the number of rows that Qt was told of
  Subscription rowChanged_;
  Subscription rowCountChanged_;
};

/// The sidebar, the drop area, the toasts and the alert about the store.
class LibraryModel final : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("belongs to the window")
  Q_PROPERTY(tapeloop::SavedRecordingsModel* rows MEMBER rows CONSTANT)
  Q_PROPERTY(tapeloop::BoolValue* showing MEMBER showing CONSTANT)
  Q_PROPERTY(tapeloop::NumberValue* sidebarWidth MEMBER sidebarWidth CONSTANT)
  Q_PROPERTY(tapeloop::NumberValue* sidebarHeight MEMBER sidebarHeight CONSTANT)
  Q_PROPERTY(tapeloop::BoolValue* showToastSaved MEMBER showToastSaved CONSTANT)
  Q_PROPERTY(tapeloop::BoolValue* showToastLoaded MEMBER showToastLoaded CONSTANT)
  Q_PROPERTY(tapeloop::BoolValue* dragOver MEMBER dragOver CONSTANT)
  /// Empty: there is no alert.
  Q_PROPERTY(tapeloop::TextValue* storeAlert MEMBER storeAlert CONSTANT)

  RecordingLibrary& library_;
  LibraryState& state_;

 public:
  LibraryModel(QObject* parent, ContentView& view)
      : QObject(parent),
        library_(view.library()),
        state_(view.libraryState()),
        rows(new SavedRecordingsModel(this, view)) {}

  SavedRecordingsModel* const rows;
  BoolValue* const showing = new BoolValue(this, state_.showingSavedRecordings);
  NumberValue* const sidebarWidth = new NumberValue(this, state_.savedRecordingWidth);
  NumberValue* const sidebarHeight = new NumberValue(this, state_.savedRecordingHeight);
  BoolValue* const showToastSaved = new BoolValue(this, state_.showToastSaved);
  BoolValue* const showToastLoaded = new BoolValue(this, state_.showToastLoaded);
  BoolValue* const dragOver = new BoolValue(this, state_.dragOver);
  TextValue* const storeAlert = new TextValue(this, state_.storeAlert, Value::Notice::later);

  Q_INVOKABLE void drop() { library_.dropRecording(); }
  Q_INVOKABLE void tapToastSaved() { library_.tapToastSaved(); }
  Q_INVOKABLE void tapToastLoaded() { library_.tapToastLoaded(); }
  Q_INVOKABLE void dismissStoreAlert() { library_.dismissStoreAlert(); }
};

}  // namespace tapeloop
