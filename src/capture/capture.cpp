#include "capture/capture.h"

#include <memory>
#include <utility>

#include "capture/indicator_windows.h"
#include "platform/number_text.h"

namespace tapeloop {
namespace {

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
  // Emptied first, because removeMonitor still calls the handler for earlier events.
  if (const auto token = std::exchange(monitor_, std::nullopt)) service_.removeMonitor(*token);
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

// The monitor belongs to the state, which lives longer, and its handler refers to this object.
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
  // `isRecording` is false for events that arrive while the monitor is being removed: the caption
  // is "Record" again by then. The flag avoids an access to the store for every move of the
  // pointer.
  if (captionIsDue_ && !state_.eventLog.empty() && state_.isRecording.get()) {
    settings_.startStopButtonText.set(capturingCaption);
    captionIsDue_ = false;
  }
  state_.eventLog.append(event);
  trace_.writeLine([&] { return description(event); });
}

// Called for every move of the pointer, so the memory of the line is reused.
std::string_view Capture::description(const InputEvent& event) {
  line_ = "Optional(";
  line_.append(kindOf(event.type)->name.substr(1));
  line_.append(" at (").append(NumberText(event.locationInWindow.x));
  line_.append(", ").append(NumberText(event.locationInWindow.y));
  line_.append(") time ").append(NumberText(event.timestamp));
  return line_.append(" flags 0x").append(NumberText(event.modifierFlags, 16)).append(")");
}

}  // namespace tapeloop
