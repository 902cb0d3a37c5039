#pragma once

#include <chrono>
#include <functional>

#include <poll.h>

#include "platform/system/run_loop.h"

namespace tapeloop::system {

/// A run loop that is turned by its descriptor.
struct EpollHarness {
  RunLoop& loop() { return epollLoop; }
  /// False if that takes far too long.
  bool turnUntil(const std::function<bool()>& done) {
    using namespace std::chrono_literals;
    const auto limit = std::chrono::steady_clock::now() + 20s;
    epollLoop.endTurn();
    while (!done()) {
      if (std::chrono::steady_clock::now() > limit) return false;
      pollfd request{epollLoop.fileDescriptor(), POLLIN, 0};
      ::poll(&request, 1, 1000);
      epollLoop.dispatch();
    }
    return true;
  }
  EpollRunLoop epollLoop;
};

}  // namespace tapeloop::system
