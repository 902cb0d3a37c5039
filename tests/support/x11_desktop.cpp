#include "support/x11_desktop.h"

#include <cstdlib>
#include <stdexcept>

#include <xcb/xcb.h>

#include "controller/settings.h"
#include "platform/memory_defaults_store.h"
#include "platform/simulated/simulated_desktop.h"
#include "platform/system/run_loop.h"
#include "platform/x11/desktop.h"

namespace tapeloop::support {

namespace {

class NoTrace final : public Trace {
 public:
  NoTrace() { loseReader(); }

 private:
  void write(std::string_view) override {}
};

std::unique_ptr<x11::Connection> connect(system::EpollRunLoop& loop, const std::string& display) {
  std::string error;
  auto connection = x11::Connection::open(loop, display, error);
  if (!connection) throw std::runtime_error(error);
  return connection;
}

}  // namespace

struct X11Desktop::Services {
  Services(const std::string& display, const MakeTrace& makeTrace)
      : trace(makeTrace ? makeTrace(loop) : std::make_unique<NoTrace>()),
        x(connect(loop, display)) {}

  system::EpollRunLoop loop;
  std::unique_ptr<Trace> trace;
  x11::Desktop x;
  NotificationCenter notifications;
  system::SystemClock clock;
  MemoryDefaultsStore defaults;
  simulated::RecordedWindowSystem windows;
  simulated::CountedAppReview review;
  simulated::RecordedWorkspace workspace;
  simulated::RecordedMainMenu menu;
  Settings settings{defaults};
  ContentView contentView{Desktop{loop, clock, *trace, defaults, x.permission, x.inputMonitor,
                                  x.eventSynthesis, x.screens, windows, review, workspace, menu,
                                  x.hotKeys, x.keyboardLayouts, notifications},
                          settings};
};

X11Desktop::X11Desktop(const std::string& display, const MakeTrace& makeTrace)
    : services_(std::make_unique<Services>(display, makeTrace)) {
  services_->windows.refuseWindows();
  services_->contentView.onAppear();
  services_->contentView.onToolbarAppear();
}

X11Desktop::~X11Desktop() = default;

bool X11Desktop::runUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  enum Outcome : int { reached, late };
  auto& loop = services_->loop;
  const auto check = loop.addBeforeWait([&] {
    if (condition()) loop.quit(reached);
    return false;
  });
  const auto timer = loop.scheduledTimerWithTimeInterval(
      std::chrono::duration<double>(limit).count(), TimerRepeats::no,
      [&loop](const TimerRef&) { loop.quit(late); });
  const bool inTime = condition() || loop.run() == reached;
  timer->invalidate();
  return inTime;
}

bool X11Desktop::runUntilElsewhere(const std::function<bool()>& condition,
                                   std::chrono::milliseconds limit) {
  const auto turns = services_->loop.scheduledTimerWithTimeInterval(0.005, TimerRepeats::yes,
                                                                    [](const TimerRef&) {});
  const bool inTime = runUntil(condition, limit);
  turns->invalidate();
  return inTime;
}

void X11Desktop::sync() {
  auto* xcb = services_->x.connection->xcb();
  std::free(xcb_get_input_focus_reply(xcb, xcb_get_input_focus(xcb), nullptr));
}

ContentView& X11Desktop::contentView() {
  return services_->contentView;
}
x11::X11EventSynthesis& X11Desktop::synthesis() {
  return services_->x.eventSynthesis;
}
InputMonitor& X11Desktop::inputMonitor() {
  return services_->x.inputMonitor;
}

HotKeyService& X11Desktop::hotKeys() {
  return services_->x.hotKeys;
}
KeyboardLayouts& X11Desktop::keyboardLayouts() {
  return services_->x.keyboardLayouts;
}
std::vector<Screen> X11Desktop::screens() const {
  return services_->x.screens.screens();
}
bool X11Desktop::isConnectionLost() const {
  return services_->x.connection->isLost();
}

void X11Desktop::startCapture() {
  services_->contentView.recordButtonPressed();
}

const EventLog& X11Desktop::stopCapture() {
  services_->contentView.recordButtonPressed();
  return services_->contentView.captureState().eventLog;
}

void X11Desktop::startPlayback(double speed) {
  services_->settings.playbackSpeed.set(speed);
  services_->contentView.playButtonPressed();
}

void X11Desktop::stopPlayback() {
  services_->contentView.escapeKeyPressed();
}

bool X11Desktop::playLog(double speed, std::chrono::milliseconds limit) {
  startPlayback(speed);
  if (!runUntil([this] { return !isPlaying(); }, limit)) return false;
  // The end of the run comes before its last event when both are due at the same moment.
  bool drained = false;
  services_->loop.dispatchAfter(0, [&drained] { drained = true; });
  if (!runUntil([&drained] { return drained; }, limit)) return false;
  sync();
  return true;
}

void X11Desktop::setLog(const std::vector<InputEvent>& events) {
  auto& state = services_->contentView.captureState();
  state.eventLog.clear();
  for (const auto& event : events) state.eventLog.append(event);
  state.recordingType.set(recording_type::unsaved);
  state.recordingTime = events.empty() ? 0 : events.back().timestamp - events.front().timestamp;
}

bool X11Desktop::isPlaying() {
  return services_->contentView.captureState().isPlaying.get();
}

}  // namespace tapeloop::support
