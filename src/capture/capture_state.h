#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "capture/button_properties.h"
#include "capture/event_log.h"
#include "capture/global_event_monitor.h"
#include "platform/observable.h"
#include "platform/window_system.h"

namespace tapeloop {

enum class FontStyle : std::uint8_t { title, callout };

/// Values of `CaptureState::recordingType`: which recording is current.
namespace recording_type {
inline constexpr const char* none = "";
inline constexpr const char* unsaved = "unsaved";  ///< the event log
inline constexpr const char* saved = "saved";      ///< the loaded recording
}  // namespace recording_type

/// The part of the main window's state that capture reads and writes. Owned by `ContentView`.
struct CaptureState {
  State<bool> isRecording{false};
  State<bool> isPlaying{false};  ///< Written by playback; read here to tell start from stop.
  State<bool> buttonDisabled{false};
  State<bool> showingAuthAlert{false};
  State<FontStyle> startStopButtonSize{FontStyle::title};
  std::shared_ptr<ButtonProperties> buttonProperties = std::make_shared<ButtonProperties>();
  EventLog eventLog;
  std::shared_ptr<GlobalEventMonitor> eventHandler;  ///< Monitor of the latest capture, or null.
  std::shared_ptr<Window> RECwindow;                 ///< Of the latest capture, or null.
  double heightScreen = 5.0;                         ///< Points.
  State<std::string> recordingType{recording_type::none};
  double recordingTime = 0;  ///< Seconds; duration of the current recording.
};

/// The settings that capture reads and writes.
struct CaptureSettings {
  Observable<std::string>& startStopButtonText;
  Observable<bool>& key;
  Observable<bool>& hideDuringRecording;
  Observable<bool>& isMiniturized;
};

}  // namespace tapeloop
