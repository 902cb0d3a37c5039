#pragma once

#include <string>

#include "controller/settings.h"
#include "platform/observable.h"

namespace tapeloop {

/// Answers what the desktop tells the program as a whole. Main thread only.
class AppDelegate {
 public:
  /// `settings` outlives the delegate.
  explicit AppDelegate(Settings& settings) : startStopButtonText_(settings.startStopButtonText) {}

  /// The launch sequence, once, when the services are there.
  void applicationDidFinishLaunching();

 private:
  Observable<std::string>& startStopButtonText_;
};

}  // namespace tapeloop
