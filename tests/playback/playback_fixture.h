#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "playback/repeat_controller.h"
#include "support/simulated_fixture.h"

namespace tapeloop::testing {

/// Playback of a log or of a loaded recording, with settings in memory at their defaults.
class PlaybackTest : public SimulatedTest {
 protected:
  PlaybackTest() {
    capture.heightScreen = 900;
    state.widthScreen = 1440;
  }

  void log(const std::vector<InputEvent>& events) {
    for (const InputEvent& event : events) capture.eventLog.append(event);
    makeCurrent(recording_type::unsaved, events);
  }
  void load(const std::vector<InputEvent>& events) {
    state.loadedRecording = makeRecording(events);
    makeCurrent(recording_type::saved, events);
  }
  void makeCurrent(const char* type, const std::vector<InputEvent>& events) {
    capture.recordingType.set(type);
    capture.recordingTime = events.empty() ? 0 : events.back().timestamp - events.front().timestamp;
  }
  /// Runs until there have been so many; 0 is without end.
  void repeat(double times) {
    repeatPlayback.set(true);
    timesToRepeat.set(times);
  }
  void play() { controller->startPlayback(PlayVariant::button); }
  void playByShortcut() { controller->startPlayback(PlayVariant::shortcut); }
  void escape() { scheduler->stopPlayback(); }
  [[nodiscard]] bool playing() const { return capture.isPlaying.get(); }
  /// Whether anything keeps keys and buttons down.
  [[nodiscard]] bool holding() const { return desktop.eventSynthesis.hasSession(); }

  State<double> playbackSpeed{1.0};
  State<bool> repeatPlayback{false};
  State<double> timesToRepeat{5.0};
  State<std::int64_t> playCount{0};
  State<bool> waitBeforeRepeating{false};
  State<std::int64_t> waittimenumber{5};
  State<std::string> waittimeunit{"seconds"};

  CaptureState capture;
  PlaybackState state;
  const PlaybackSettings settings{.playbackSpeed = playbackSpeed,
                                  .repeatPlayback = repeatPlayback,
                                  .timesToRepeat = timesToRepeat,
                                  .playCount = playCount,
                                  .waitBeforeRepeating = waitBeforeRepeating,
                                  .waittimenumber = waittimenumber,
                                  .waittimeunit = waittimeunit};
  const PlaybackServices services{.runLoop = desktop.runLoop,
                                  .clock = desktop.runLoop,
                                  .trace = desktop.trace,
                                  .eventSynthesis = desktop.eventSynthesis,
                                  .screens = desktop.screens,
                                  .windows = desktop.windows};
  std::unique_ptr<PlaybackScheduler> scheduler =
      std::make_unique<PlaybackScheduler>(capture, state, settings, services);
  std::unique_ptr<RepeatController> controller =
      std::make_unique<RepeatController>(capture, state, settings, services, *scheduler);
};

}  // namespace tapeloop::testing
