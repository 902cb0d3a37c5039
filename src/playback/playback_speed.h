#pragma once

#include <cmath>

namespace tapeloop {

/// What recorded durations are divided by. A stored speed that can't be divided by plays at 1.
inline double playbackDivisor(double playbackSpeed) {
  return std::isfinite(playbackSpeed) && playbackSpeed > 0 ? playbackSpeed : 1.0;
}

}  // namespace tapeloop
