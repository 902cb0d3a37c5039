#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "platform/observable.h"
#include "platform/window_system.h"

namespace tapeloop {

/// What one row of the sidebar shows.
struct SavedRecordingRow {
  std::string selectedRecordingName;  ///< The text of the name field.
  double loadButtonOpacity = 1.0;
  Color individualBackground = clearColor;
  double trashButtonOpacity = 0.0;  ///< The button is seen while the pointer is over the row.
  bool hoveringOverLoadButton = false;
  bool hoveringOverTrashButton = false;
  bool trashButtonHasFocus = false;

  /// A delete button that has the keyboard focus is seen wherever the pointer is.
  [[nodiscard]] double shownTrashButtonOpacity() const {
    return trashButtonHasFocus ? 1.0 : trashButtonOpacity;
  }
  friend bool operator==(const SavedRecordingRow&, const SavedRecordingRow&) = default;
};

/// The rows by position: 718 at first, more as the list grows, never fewer. When an entry is
/// deleted the names below it move up a row. The hover state does not move, as the pointer does
/// not.
class SavedRecordingRows {
 public:
  explicit SavedRecordingRows(const Observable<bool>& isRecording) : isRecording_(isRecording) {}

  [[nodiscard]] std::size_t size() const { return rows_.size(); }
  /// A row beyond the end has the initial values.
  [[nodiscard]] const SavedRecordingRow& operator[](std::size_t row) const;
  void growTo(std::size_t count);

  void setName(std::size_t row, std::string name);
  void focusTrashButton(std::size_t row, bool focused);
  // The pointer enters or leaves.
  void hoverRow(std::size_t row, bool hovering);
  void hoverLoadButton(std::size_t row, bool hovering);
  void hoverTrashButton(std::size_t row, bool hovering);

  /// `callback` gets the position of the row that has changed.
  Subscription subscribe(std::function<void(std::size_t)> callback) {
    return changed_.connect(std::move(callback));
  }

 private:
  template <typename Edit>
  void change(std::size_t row, Edit edit);

  const Observable<bool>& isRecording_;
  std::vector<SavedRecordingRow> rows_{718};
  Signal<std::size_t> changed_;
};

/// The part of the main window's state that belongs to the saved recordings. Owned by
/// `ContentView`.
struct LibraryState {
  explicit LibraryState(const Observable<bool>& isRecording) : rows(isRecording) {}

  State<bool> showingSavedRecordings{false};
  State<double> savedRecordingWidth{0};   ///< Points.
  State<double> savedRecordingHeight{0};  ///< Points.
  /// Rows of the sidebar. 0 until the list has been read, which happens when it is first needed.
  State<std::size_t> rowCount{0};
  SavedRecordingRows rows;
  State<bool> showToastSaved{false};   ///< "Recording Saved"
  State<bool> showToastLoaded{false};  ///< "Recording Loaded"
  State<std::string> droppedRecordingUUIDString;
  State<bool> dragOver{false};
  /// Why the latest change could not be stored, as one sentence for an alert; empty: no alert.
  State<std::string> storeAlert;
};

}  // namespace tapeloop
