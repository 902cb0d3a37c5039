#pragma once

#include "platform/observable.h"
#include "platform/run_loop.h"

namespace tapeloop {

/// A notice that is on screen while its flag is true: for 1.2 seconds, or until it is tapped. Main
/// thread only.
class Toast {
 public:
  static constexpr double duration = 1.2;  ///< Seconds.

  /// Both outlive the toast.
  Toast(State<bool>& flag, RunLoop& runLoop);
  Toast(const Toast&) = delete;
  Toast& operator=(const Toast&) = delete;
  ~Toast();

  /// Shows it, or hides it early if it is still there.
  void invert();
  void tap() { hide(); }

 private:
  void hide();

  State<bool>& flag_;
  RunLoop& runLoop_;
  TimerRef timer_;
};

}  // namespace tapeloop
