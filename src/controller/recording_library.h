#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "capture/capture_state.h"
#include "controller/library_state.h"
#include "controller/stored_recordings.h"
#include "controller/toast.h"
#include "platform/defaults_store.h"
#include "platform/run_loop.h"
#include "platform/trace.h"
#include "playback/playback_state.h"

namespace tapeloop {

enum class LoadVariant : std::uint8_t { button, contextMenu };

/// The sidebar with the saved recordings, and what can be done with them. A row is known by its
/// position. A row that isn't there is left alone. Main thread only.
class RecordingLibrary {
 public:
  /// Everything that is handed in outlives the library.
  RecordingLibrary(LibraryState& state, CaptureState& captureState, PlaybackState& playbackState,
                   DefaultsStore& store, RunLoop& runLoop, Trace& trace);
  RecordingLibrary(const RecordingLibrary&) = delete;
  RecordingLibrary& operator=(const RecordingLibrary&) = delete;

  void toggleSidebar();
  /// Makes a saved recording of the event log.
  void saveRecording();
  void loadSavedRecording(LoadVariant variant, std::size_t row);
  /// Gives the row's recording the name that its field shows.
  void renameSavedRecording(std::size_t row);
  void deleteSavedRecording(std::size_t row);

  /// The row's field shows the stored title.
  void rowAppeared(std::size_t row);
  /// A drag of the row starts. Returns the text that is dragged.
  std::string dragRecording(std::size_t row);
  /// Something was dropped on the drop area, which accepts everything.
  void dropRecording();

  /// The one button of the alert about the store.
  void dismissStoreAlert();
  void tapToastSaved() { toastSaved_.tap(); }
  void tapToastLoaded() { toastLoaded_.tap(); }

 private:
  void showSidebar();
  void load(Recording recording);
  /// False if the loaded recording has no duration.
  bool takeRecordingTime();
  /// Carries out `edit` on the stored list; if that fails the user is told, and it is false.
  bool change(const std::function<StoredRecordings::Edit(RecordingList&)>& edit);
  void printLengths(const Recording& recording, std::size_t eventCount);
  void printModifiers(const Recording& recording);
  void printList(const RecordingList& list);
  void printLoading(std::string_view recordText);
  void printTitles(const RecordingList& list);
  void printNames();
  /// There is a row for each entry.
  void show(const RecordingList& list);
  void showTitles(const RecordingList& list);

  LibraryState& state_;
  CaptureState& captureState_;
  PlaybackState& playbackState_;
  Trace& trace_;
  StoredRecordings stored_;
  Toast toastSaved_;
  Toast toastLoaded_;
  Subscription listRead_;
  Subscription writtenByOthers_;
};

}  // namespace tapeloop
