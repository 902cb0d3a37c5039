#pragma once

#include "capture/capture_state.h"
#include "playback/playback_scheduler.h"
#include "playback/playback_services.h"
#include "playback/playback_state.h"
#include "playback/repeat_controller.h"

namespace tapeloop {

/// Replays the current recording, as often and as fast as the settings say. Main thread only.
class Playback {
 public:
  /// Everything that is handed in outlives the playback.
  Playback(CaptureState& capture, PlaybackState& state, const PlaybackSettings& settings,
           const PlaybackServices& services);

  void startPlayback(PlayVariant variant) { repeat_.startPlayback(variant); }
  /// What the Escape key does.
  void stopPlayback() { scheduler_.stopPlayback(); }

 private:
  PlaybackScheduler scheduler_;
  RepeatController repeat_;
};

}  // namespace tapeloop
