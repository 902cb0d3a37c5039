#pragma once

#include <cstddef>
#include <memory>

#include "capture/capture.h"
#include "capture/capture_state.h"
#include "controller/buttons.h"
#include "controller/library_state.h"
#include "controller/recording_library.h"
#include "controller/settings.h"
#include "hotkeys/hot_key.h"
#include "hotkeys/keyboard_shortcuts.h"
#include "platform/desktop.h"
#include "playback/playback_scheduler.h"
#include "playback/playback_state.h"
#include "playback/repeat_controller.h"

namespace tapeloop {

/// The main window: it owns the state that capture, playback and the saved recordings share, and
/// the actions that its controls start. While `buttonDisabled` is set, all buttons but the record
/// button do nothing; shortcuts, menus and drags still work.
class ContentView {
 public:
  ContentView(const Desktop& desktop, Settings& settings);
  ContentView(const ContentView&) = delete;
  ContentView& operator=(const ContentView&) = delete;
  ~ContentView();

  // Called by the window.
  void onAppear();
  void onToolbarAppear();

  // The buttons.
  void recordButtonPressed();
  void playButtonPressed();
  void settingsButtonPressed();
  void saveButtonPressed();
  void listButtonPressed();
  void informationButtonPressed();
  void loadButtonPressed(std::size_t row);
  void trashButtonPressed(std::size_t row);

  /// What the Escape key does, whichever application has the focus.
  void escapeKeyPressed();
  /// The one button of either alert. The other alerts belong to the library and to the information
  /// button.
  void dismissAuthAlert();
  void dismissPlayAlert();

  [[nodiscard]] CaptureState& captureState() { return captureState_; }
  [[nodiscard]] PlaybackState& playbackState() { return playbackState_; }
  [[nodiscard]] LibraryState& libraryState() { return libraryState_; }
  /// For what is done with the saved recordings other than by a button of the window.
  [[nodiscard]] RecordingLibrary& library() { return library_; }
  [[nodiscard]] Toolbar& toolbar() { return toolbar_; }
  [[nodiscard]] InformationButton& informationButton() { return informationButton_; }
  [[nodiscard]] State<bool>& showSheetView() { return showSheetView_; }
  /// The slots of the shortcuts that record and play.
  [[nodiscard]] KeyboardShortcuts& keyboardShortcuts() { return keyboardShortcuts_; }
  [[nodiscard]] Settings& settings() { return settings_; }

 private:
  [[nodiscard]] bool buttonsRespond() const { return !captureState_.buttonDisabled.get(); }

  const Desktop desktop_;
  Settings& settings_;
  CaptureState captureState_;
  PlaybackState playbackState_;
  LibraryState libraryState_{captureState_.isRecording};
  State<bool> showSheetView_{false};
  Toolbar toolbar_{captureState_.isRecording};
  InformationButton informationButton_;
  Capture capture_;
  PlaybackScheduler playback_;
  RepeatController repeat_;
  RecordingLibrary library_;
  HotKeysController hotKeysController_;
  const std::shared_ptr<HotKey> hotKey_;  // Escape
  KeyboardShortcuts keyboardShortcuts_;
  Subscription playing_;
};

}  // namespace tapeloop
