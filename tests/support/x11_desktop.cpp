#include "support/x11_desktop.h"

#include <stdexcept>

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

X11Desktop::X11Desktop(const std::string& display, const MakeTrace& makeTrace)
    : trace(makeTrace ? makeTrace(loop) : std::make_unique<NoTrace>()), x(connect(loop, display)) {
  windows.refuseWindows();
  contentView.onAppear();
  contentView.onToolbarAppear();
}

bool X11Desktop::runUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  enum Outcome : int { reached, late };
  const auto check = loop.addBeforeWait([&] {
    if (condition()) loop.quit(reached);
    return false;
  });
  const auto timer = loop.scheduledTimerWithTimeInterval(
      std::chrono::duration<double>(limit).count(), TimerRepeats::no,
      [this](const TimerRef&) { loop.quit(late); });
  const bool inTime = condition() || loop.run() == reached;
  timer->invalidate();
  return inTime;
}

bool X11Desktop::runUntilElsewhere(const std::function<bool()>& condition,
                                   std::chrono::milliseconds limit) {
  const auto turns =
      loop.scheduledTimerWithTimeInterval(0.005, TimerRepeats::yes, [](const TimerRef&) {});
  const bool inTime = runUntil(condition, limit);
  turns->invalidate();
  return inTime;
}

const EventLog& X11Desktop::stopCapture() {
  contentView.recordButtonPressed();
  return log();
}

void X11Desktop::startPlayback(double speed) {
  settings.playbackSpeed.set(speed);
  contentView.playButtonPressed();
}

bool X11Desktop::playLog(double speed, std::chrono::milliseconds limit) {
  startPlayback(speed);
  if (!runUntil([this] { return !isPlaying(); }, limit)) return false;
  // The end of the run comes before its last event when both are due at the same moment.
  bool drained = false;
  loop.dispatchAfter(0, [&drained] { drained = true; });
  if (!runUntil([&drained] { return drained; }, limit)) return false;
  sync();
  return true;
}

void X11Desktop::setLog(const std::vector<InputEvent>& events) {
  auto& state = contentView.captureState();
  state.eventLog.clear();
  for (const auto& event : events) state.eventLog.append(event);
  state.recordingType.set(recording_type::unsaved);
  state.recordingTime = events.empty() ? 0 : events.back().timestamp - events.front().timestamp;
}

}  // namespace tapeloop::support
