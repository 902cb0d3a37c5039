#pragma once

#include <cstddef>
#include <string>

#include "controller/row_values.h"
#include "platform/observable.h"
#include "platform/window_system.h"

namespace tapeloop {

/// The state of the sidebar's rows, which are known by their positions, and what the pointer does
/// to it. When an entry goes, those below it move up and the hover state stays where it is, as the
/// pointer does. Main thread only.
class SavedRecordingRows {
 public:
  /// `isRecording` outlives this.
  explicit SavedRecordingRows(const Observable<bool>& isRecording) : isRecording_(isRecording) {}

  RowValues<std::string> selectedRecordingName{718, ""};  ///< What the name field shows.
  RowValues<double> loadButtonOpacity{556, 1.0};
  RowValues<Color> individualBackground{441, clearColor};
  RowValues<double> trashButtonOpacity{654, 0.0};  ///< Seen while the pointer is over the row.
  RowValues<bool> hoveringOverLoadButton{404, false};
  RowValues<bool> hoveringOverTrashButton{404, false};
  RowValues<bool> trashButtonHasFocus{404, false};  ///< And lets it be seen.

  // The pointer enters or leaves.
  void hoverRow(std::size_t row, bool hovering);
  void hoverLoadButton(std::size_t row, bool hovering);
  void hoverTrashButton(std::size_t row, bool hovering);

  /// One that the keyboard acts on is seen, wherever the pointer is.
  [[nodiscard]] double shownTrashButtonOpacity(std::size_t row) const {
    return trashButtonHasFocus.get(row) ? 1.0 : trashButtonOpacity.get(row);
  }

  void growTo(std::size_t count);

 private:
  const Observable<bool>& isRecording_;
};

}  // namespace tapeloop
