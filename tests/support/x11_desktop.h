#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "controller/content_view.h"
#include "controller/settings.h"
#include "platform/memory_defaults_store.h"
#include "platform/simulated/simulated_desktop.h"
#include "platform/system/run_loop.h"
#include "platform/trace.h"
#include "platform/x11/desktop.h"

namespace tapeloop::support {

/// The whole program but for what is drawn, on one X server: real run loop, input and posting.
/// Windows can't be opened, settings are kept in memory. Belongs to the thread that made it.
struct X11Desktop {
  using MakeTrace = std::function<std::unique_ptr<Trace>(system::EpollRunLoop&)>;

  /// Throws when there is no connection. Without `makeTrace` the trace goes nowhere.
  explicit X11Desktop(const std::string& display, const MakeTrace& makeTrace = {});

  /// Turns the run loop until `condition` holds; it is asked at the end of each turn. False at the
  /// limit.
  [[nodiscard]] bool runUntil(const std::function<bool()>& condition,
                              std::chrono::milliseconds limit);
  /// The same for what happens elsewhere, which ends no turn here: asked every few milliseconds.
  [[nodiscard]] bool runUntilElsewhere(const std::function<bool()>& condition,
                                       std::chrono::milliseconds limit);
  /// Returns when the server has done what the program asked of it.
  void sync() const { x.connection->roundTrip(); }

  // The program's controls, by what they are there for.
  void startCapture() { contentView.recordButtonPressed(); }
  /// The events of the capture that has been stopped.
  const EventLog& stopCapture();
  void startPlayback(double speed);
  /// Plays the event log once at this speed. True when by the limit it has come to its end and the
  /// server has taken everything in.
  [[nodiscard]] bool playLog(double speed, std::chrono::milliseconds limit);
  /// Makes these events the unsaved recording.
  void setLog(const std::vector<InputEvent>& events);
  [[nodiscard]] const EventLog& log() { return contentView.captureState().eventLog; }
  [[nodiscard]] bool isPlaying() { return contentView.captureState().isPlaying.get(); }
  [[nodiscard]] bool isRecording() { return contentView.captureState().isRecording.get(); }

  system::EpollRunLoop loop;
  const std::unique_ptr<Trace> trace;
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

}  // namespace tapeloop::support
