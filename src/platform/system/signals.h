#pragma once

#include <functional>
#include <initializer_list>
#include <utility>
#include <vector>

#include <signal.h>

#include "platform/system/handles.h"
#include "platform/system/run_loop.h"

namespace tapeloop::system {

/// From now on a write into a pipe that nobody reads, or beyond what a file may grow to, is an
/// error of that write and does not end the program.
void surviveFailedWrites();

/// Turns signals of the process into calls on the main thread, in a turn of the loop. A signal that
/// comes several times before that is reported at least once. One watch a signal and process.
///
/// Handlers, and not a blocked signal mask with a signalfd: a mask is handed on to every program
/// that this one starts, which would then not end on SIGTERM.
class SignalWatch {
 public:
  /// `callback` gets the signal's number.
  SignalWatch(EpollRunLoop& loop, std::initializer_list<int> signals,
              std::function<void(int)> callback);
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;
  /// What the signals did before holds again.
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
