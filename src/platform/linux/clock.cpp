#include "platform/linux/clock.h"

#include <chrono>

namespace tapeloop::linux {

double SystemClock::date() const {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

}  // namespace tapeloop::linux
