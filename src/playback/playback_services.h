#pragma once

#include "platform/event_synthesis.h"
#include "platform/run_loop.h"
#include "platform/screens.h"
#include "platform/trace.h"
#include "platform/window_system.h"

namespace tapeloop {

/// What playback needs of the desktop.
struct PlaybackServices {
  RunLoop& runLoop;
  Clock& clock;
  Trace& trace;
  EventSynthesis& eventSynthesis;
  Screens& screens;
  WindowSystem& windows;
};

}  // namespace tapeloop
