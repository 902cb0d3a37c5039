#include "playback/playback.h"

namespace tapeloop {

Playback::Playback(CaptureState& capture, PlaybackState& state, const PlaybackSettings& settings,
                   const PlaybackServices& services)
    : scheduler_(capture, state, settings, services),
      repeat_(capture, state, settings, services, scheduler_) {}

}  // namespace tapeloop
