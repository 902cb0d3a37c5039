#pragma once

#include "platform/observable.h"
#include "platform/window_system.h"

namespace tapeloop {

inline constexpr Color tapeloopRed = rgb(220, 90, 80);

/// What the styles of the record and play buttons share.
struct ButtonProperties {
  State<Color> unpressedColor{tapeloopRed};
  State<double> startStopOpacity{1.0};
};

}  // namespace tapeloop
