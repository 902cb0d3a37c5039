#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "capture/capture_state.h"
#include "controller/library_state.h"
#include "controller/stored_recordings.h"
#include "platform/defaults_store.h"
#include "platform/run_loop.h"
#include "platform/trace.h"
#include "playback/playback_state.h"

namespace tapeloop {

enum class LoadVariant : std::uint8_t { button, contextMenu };

/// A notice that is on screen while its flag is true: for 1.2 seconds, or until it is tapped.
class Toast {
 public:
  static constexpr double duration = 1.2;  ///< Seconds.

  Toast(State<bool>& flag, RunLoop& runLoop) : flag_(flag), runLoop_(runLoop) {}
  Toast(const Toast&) = delete;
  Toast& operator=(const Toast&) = delete;
  ~Toast();

  /// Shows it, or hides it early if it is still there.
  void invert();
  void tap() { hide(); }

 private:
  void hide();

  State<bool>& flag_;
  RunLoop& runLoop_;
  TimerRef timer_;
};

/// The sidebar with the saved recordings, and what can be done with them. A row is known by its
/// position; for a row that does not exist nothing happens.
class RecordingLibrary {
 public:
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

  /// An item of the context menu that every row has.
  struct RowMenuItem {
    const char* title;
    void (*choose)(RecordingLibrary& library, std::size_t row);
  };
  [[nodiscard]] static std::span<const RowMenuItem> rowMenu();

  /// The row's field shows the stored title.
  void rowAppeared(std::size_t row);
  /// A drag of the row starts. Returns the text that is dragged.
  std::string dragRecording(std::size_t row);
  /// Something was dropped on the drop area, which accepts everything. Loads the row that was
  /// dragged last, whatever the dropped item contains.
  void dropRecording();

  /// The one button of the alert about the store.
  void dismissStoreAlert();
  void tapToastSaved() { toastSaved_.tap(); }
  void tapToastLoaded() { toastLoaded_.tap(); }

 private:
  using List = std::vector<RecordingHead>;

  void showSidebar();
  void load(Recording recording);
  /// False if the loaded recording has fewer than two events.
  bool takeRecordingTime();
  /// Tells the user what could not be stored, in an alert. True if it was.
  bool report(const StoredRecordings::Change& change);
  void printLengths(const Recording& recording, std::size_t eventCount);
  void printModifiers(const Recording& recording);
  void printList();
  void printLoading();
  void printTitles(const List& list);
  void printNames();
  /// Makes as many rows as the list has entries.
  void showRows(const List& list);
  void showTitles(const List& list);

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
