#pragma once

#include <vector>

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtQml/qqmlregistration.h>

#include "controller/content_view.h"
#include "views/saved_recordings_model.h"

namespace tapeloop {

/// What the QML of the sidebar, of the drop area and of the toasts binds to. Main thread only.
class LibraryModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("comes with the window")
  Q_PROPERTY(tapeloop::SavedRecordingsModel* rows READ rows CONSTANT)
  Q_PROPERTY(bool showing READ showing NOTIFY showingChanged)
  Q_PROPERTY(double sidebarWidth READ sidebarWidth NOTIFY sidebarWidthChanged)
  Q_PROPERTY(double sidebarHeight READ sidebarHeight NOTIFY sidebarHeightChanged)
  Q_PROPERTY(bool showToastSaved READ showToastSaved NOTIFY showToastSavedChanged)
  Q_PROPERTY(bool showToastLoaded READ showToastLoaded NOTIFY showToastLoadedChanged)
  Q_PROPERTY(bool dragOver READ dragOver WRITE setDragOver NOTIFY dragOverChanged)
  /// Empty: there is no alert.
  Q_PROPERTY(QString storeAlert READ storeAlert NOTIFY storeAlertChanged)

 public:
  /// `view` outlives the model.
  explicit LibraryModel(ContentView& view);

  [[nodiscard]] SavedRecordingsModel* rows() { return &rows_; }
  [[nodiscard]] bool showing() const { return state_.showingSavedRecordings.get(); }
  [[nodiscard]] double sidebarWidth() const { return state_.savedRecordingWidth.get(); }
  [[nodiscard]] double sidebarHeight() const { return state_.savedRecordingHeight.get(); }
  [[nodiscard]] bool showToastSaved() const { return state_.showToastSaved.get(); }
  [[nodiscard]] bool showToastLoaded() const { return state_.showToastLoaded.get(); }
  [[nodiscard]] bool dragOver() const { return state_.dragOver.get(); }
  void setDragOver(bool over) { state_.dragOver.set(over); }
  [[nodiscard]] QString storeAlert() const {
    return QString::fromStdString(state_.storeAlert.get());
  }

  Q_INVOKABLE void drop() { library_.dropRecording(); }
  Q_INVOKABLE void tapToastSaved() { library_.tapToastSaved(); }
  Q_INVOKABLE void tapToastLoaded() { library_.tapToastLoaded(); }
  Q_INVOKABLE void dismissStoreAlert() { library_.dismissStoreAlert(); }

 Q_SIGNALS:
  void showingChanged();
  void sidebarWidthChanged();
  void sidebarHeightChanged();
  void showToastSavedChanged();
  void showToastLoadedChanged();
  void dragOverChanged();
  void storeAlertChanged();

 private:
  RecordingLibrary& library_;
  LibraryState& state_;
  SavedRecordingsModel rows_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tapeloop
