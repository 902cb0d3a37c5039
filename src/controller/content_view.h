#pragma once

#include "capture/capture.h"
#include "capture/capture_state.h"
#include "controller/settings.h"
#include "platform/desktop.h"
#include "playback/playback.h"
#include "playback/playback_state.h"

namespace tapeloop {

/// The main window: it owns the state that capture and playback share, and the actions that its
/// controls start. Main thread only.
class ContentView {
 public:
  /// The desktop's services and `settings` outlive the view.
  ContentView(const Desktop& desktop, Settings& settings);
  ContentView(const ContentView&) = delete;
  ContentView& operator=(const ContentView&) = delete;
  ~ContentView();

  // What the window tells the controller.
  void onAppear();

  // Actions of the controls.
  void recordButtonPressed();
  void playButtonPressed();
  void escapeKeyPressed();
  /// The one button of either alert.
  void dismissAuthAlert();
  void dismissPlayAlert();

  // The same actions started by the named shortcuts.
  void recordShortcutPressed();
  void playShortcutPressed();

  [[nodiscard]] CaptureState& captureState() { return captureState_; }
  [[nodiscard]] PlaybackState& playbackState() { return playbackState_; }
  [[nodiscard]] Settings& settings() { return settings_; }

 private:
  const Desktop desktop_;
  Settings& settings_;
  CaptureState captureState_;
  PlaybackState playbackState_;
  Capture capture_;
  Playback playback_;
};

}  // namespace tapeloop
