#include "capture/capture.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <utility>

#include "capture/indicator_windows.h"

namespace tapeloop {
namespace {

/// Appends to a buffer that is known to be long enough.
class Writer {
 public:
  Writer(char* begin, char* end) : next_(begin), end_(end) {}

  Writer& operator<<(std::string_view text) {
    next_ = std::copy(text.begin(), text.end(), next_);
    return *this;
  }
  Writer& operator<<(double number) {
    next_ = std::to_chars(next_, end_, number).ptr;
    return *this;
  }
  Writer& hexadecimal(std::uint64_t number) {
    next_ = std::to_chars(next_, end_, number, 16).ptr;
    return *this;
  }
  [[nodiscard]] char* position() const { return next_; }

 private:
  char* next_;
  char* end_;
};

constexpr double disabledOpacity = 0.3;
constexpr const char* idleCaption = "Record";
constexpr const char* armedCaption = "Click outside the window to start recording.";
constexpr const char* capturingCaption = "Stop Recording";

}  // namespace

GlobalEventMonitor::GlobalEventMonitor(InputMonitor& service, EventMask mask,
                                       InputMonitor::Handler handler)
    : service_(service), mask_(mask), handler_(std::move(handler)) {}

GlobalEventMonitor::~GlobalEventMonitor() {
  stop();
}

void GlobalEventMonitor::start() {
  monitor_ = service_.addGlobalMonitorForEventsMatchingMask(mask_, handler_);
}

void GlobalEventMonitor::stop() {
  // Emptied first: the handler runs once more for what is still under way.
  if (const auto token = std::exchange(monitor_, std::nullopt)) service_.removeMonitor(*token);
}

// The longest line has three numbers of 24 characters, flags of 16 and under 60 of wording.
EventDescription::EventDescription(const InputEvent& event) {
  Writer line(buffer_.data(), buffer_.data() + buffer_.size());
  line << "Optional(";
  line << kindOf(event.type)->name.substr(1) << " at (" << event.locationInWindow.x << ", "
       << event.locationInWindow.y << ") time " << event.timestamp << " flags 0x";
  line.hexadecimal(event.modifierFlags) << ")";
  length_ = static_cast<std::size_t>(line.position() - buffer_.data());
}

Capture::Capture(CaptureState& state, const CaptureSettings& settings, Permission& permission,
                 InputMonitor& inputMonitor, WindowSystem& windows, RunLoop& runLoop, Trace& trace)
    : state_(state),
      settings_(settings),
      permission_(permission),
      inputMonitor_(inputMonitor),
      windows_(windows),
      runLoop_(runLoop),
      trace_(trace),
      captionChanged_(settings.startStopButtonText.subscribe([this] { captionIsDue_ = true; })) {}

// The state outlives the capture, and its monitor would go on calling the handler.
Capture::~Capture() {
  if (state_.eventHandler) state_.eventHandler->stop();
}

void Capture::recordShortcutAction() {
  trace_.writeLine("record shortcut pressed");
  recordAction();
}

void Capture::recordAction() {
  if (!permission_.AXIsProcessTrusted()) {
    state_.showingAuthAlert.set(true);
    return;
  }
  if (state_.isRecording.get() || state_.isPlaying.get()) {
    stopRecording();
    const EventLog& log = state_.eventLog;
    if (!log.empty()) state_.recordingTime = log.back().timestamp - log.front().timestamp;
  } else {
    startRecording();
  }
  trace_.writeLine(state_.isRecording.get() ? "Recording: true" : "Recording: false");
}

void Capture::startRecording() {
  state_.isRecording.set(true);
  state_.buttonDisabled.set(true);
  state_.buttonProperties->startStopOpacity.set(disabledOpacity);
  settings_.key.set(false);
  settings_.startStopButtonText.set(armedCaption);
  captionIsDue_ = true;
  state_.startStopButtonSize.set(FontStyle::callout);
  state_.RECwindow = openIndicatorWindow(windows_, std::make_shared<RecordingView>(runLoop_),
                                         {0, state_.heightScreen});
  state_.eventLog.clear();
  state_.eventHandler = std::make_shared<GlobalEventMonitor>(
      inputMonitor_, allEventKinds, [this](const InputEvent* event) { handle(*event); });
  state_.eventHandler->start();
}

void Capture::stopRecording() {
  if (settings_.hideDuringRecording.get()) settings_.isMiniturized.set(true);
  state_.isRecording.set(false);
  state_.buttonDisabled.set(false);
  state_.recordingType.set(recording_type::unsaved);
  state_.buttonProperties->startStopOpacity.set(1.0);
  settings_.startStopButtonText.set(idleCaption);
  state_.startStopButtonSize.set(FontStyle::title);
  if (state_.RECwindow) state_.RECwindow->close();
  if (state_.eventHandler) state_.eventHandler->stop();
}

void Capture::handle(const InputEvent& event) {
  // Events from before the stop still arrive while the monitor is being removed, when the caption
  // is "Record" again. And a caption that is there already is not set once more: the store would be
  // asked again for every move of the pointer.
  if (captionIsDue_ && !state_.eventLog.empty() && state_.isRecording.get()) {
    settings_.startStopButtonText.set(capturingCaption);
    captionIsDue_ = false;
  }
  state_.eventLog.append(event);
  trace_.writeLine([&] { return EventDescription(event); });
}

}  // namespace tapeloop
