#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/input_event.h"
#include "platform/observable.h"
#include "platform/window_system.h"

namespace tapeloop {

inline constexpr Color tapeloopRed = rgb(220, 90, 80);

/// The look that the record and play buttons share.
struct ButtonProperties {
  State<Color> unpressedColor{tapeloopRed};
  State<double> startStopOpacity{1.0};
};

/// The events of the current capture, in order of delivery: the unsaved recording.
class EventLog {
 public:
  using Events = std::vector<InputEvent>;

  [[nodiscard]] bool empty() const { return events_->empty(); }
  [[nodiscard]] std::size_t size() const { return events_->size(); }
  [[nodiscard]] const InputEvent& front() const { return events_->front(); }
  [[nodiscard]] const InputEvent& back() const { return events_->back(); }
  [[nodiscard]] const InputEvent& operator[](std::size_t index) const { return (*events_)[index]; }
  [[nodiscard]] Events::const_iterator begin() const { return events_->begin(); }
  [[nodiscard]] Events::const_iterator end() const { return events_->end(); }

  /// Shared, because a run goes on posting them after the log has been cleared.
  [[nodiscard]] std::shared_ptr<const Events> events() const { return events_; }

  void append(const InputEvent& event) { events_->push_back(event); }
  void clear() { events_ = std::make_shared<Events>(); }

 private:
  std::shared_ptr<Events> events_ = std::make_shared<Events>();
};

class GlobalEventMonitor;

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
  State<bool> isPlaying{false};  ///< Written by playback.
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
