#pragma once

#include <functional>
#include <initializer_list>
#include <utility>
#include <vector>

#include <signal.h>

#include "platform/system/handles.h"
#include "platform/system/run_loop.h"

namespace tapeloop::system {

/// Catches SIGPIPE and SIGXFSZ, so that a write to a closed pipe or beyond the file size limit
/// fails instead of ending the program.
void surviveFailedWrites();

/// Calls back in a turn of the loop when the process receives a signal. A signal that arrives
/// several times before that is reported at least once. At most one watch for each signal.
///
/// It uses handlers and not a signalfd: that needs the signals to be blocked, and programs that
/// this one starts would inherit the mask and not end on SIGTERM.
class SignalWatch {
 public:
  /// `callback` gets the number of the signal.
  SignalWatch(EpollRunLoop& loop, std::initializer_list<int> signals,
              std::function<void(int)> callback);
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;
  /// Restores the previous handlers.
  ~SignalWatch();

 private:
  void read();

  FileDescriptor readEnd_;
  FileDescriptor writeEnd_;
  std::function<void(int)> callback_;
  std::vector<std::pair<int, struct sigaction>> previous_;
  Watch watch_;
};

}  // namespace tapeloop::system
