#include "platform/system/clock.h"

#include <chrono>

namespace tapeloop::system {

double SystemClock::date() const {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

}  // namespace tapeloop::system
