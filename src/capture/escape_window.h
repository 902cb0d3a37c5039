#pragma once

#include "platform/window_system.h"

namespace tapeloop {

/// The hint "Press Escape to Stop" that is on screen during playback. It has no state.
class EscapeWindow final : public View {};

}  // namespace tapeloop
