#pragma once

#include <cstddef>
#include <string>

#include "controller/saved_recording_rows.h"
#include "platform/observable.h"

namespace tapeloop {

/// The part of the main window's state that belongs to the saved recordings. Owned by
/// `ContentView`.
struct LibraryState {
  /// `isRecording` outlives the state.
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
