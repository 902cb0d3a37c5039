#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "controller/content_view.h"
#include "platform/screens.h"
#include "platform/system/run_loop.h"
#include "platform/trace.h"
#include "platform/x11/event_synthesis.h"

namespace tapeloop::support {

/// The whole program but for what is drawn, on one X server: real run loop, input and posting.
/// Windows can't be opened, settings are kept in memory. Belongs to the thread that made it.
class X11Desktop {
 public:
  using MakeTrace = std::function<std::unique_ptr<Trace>(system::EpollRunLoop&)>;

  /// Throws when there is no connection. Without `makeTrace` the trace goes nowhere.
  explicit X11Desktop(const std::string& display, const MakeTrace& makeTrace = {});
  X11Desktop(const X11Desktop&) = delete;
  X11Desktop& operator=(const X11Desktop&) = delete;
  ~X11Desktop();

  /// Turns the run loop until `condition` holds; it is asked at the end of each turn. False at the
  /// limit.
  [[nodiscard]] bool runUntil(const std::function<bool()>& condition,
                              std::chrono::milliseconds limit);
  /// The same for what happens elsewhere, which ends no turn here: asked every few milliseconds.
  [[nodiscard]] bool runUntilElsewhere(const std::function<bool()>& condition,
                                       std::chrono::milliseconds limit);

  /// Returns when the server has done what the program asked of it.
  void sync();

  [[nodiscard]] ContentView& contentView();
  [[nodiscard]] x11::X11EventSynthesis& synthesis();
  [[nodiscard]] InputMonitor& inputMonitor();
  [[nodiscard]] HotKeyService& hotKeys();
  [[nodiscard]] KeyboardLayouts& keyboardLayouts();
  [[nodiscard]] std::vector<Screen> screens() const;
  [[nodiscard]] bool isConnectionLost() const;

  // The program's controls, by what they are there for.
  void startCapture();
  /// The events of the capture that has been stopped.
  const EventLog& stopCapture();
  void startPlayback(double speed);
  /// What the Escape key does.
  void stopPlayback();
  /// Plays the event log once at this speed. True when by the limit it has come to its end and the
  /// server has taken everything in.
  [[nodiscard]] bool playLog(double speed, std::chrono::milliseconds limit);
  /// Makes these events the unsaved recording.
  void setLog(const std::vector<InputEvent>& events);
  [[nodiscard]] bool isPlaying();

 private:
  struct Services;
  std::unique_ptr<Services> services_;
};

}  // namespace tapeloop::support
