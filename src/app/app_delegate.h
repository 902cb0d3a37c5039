#pragma once

#include <memory>

#include "controller/settings.h"
#include "platform/desktop.h"
#include "platform/window_system.h"

namespace tapeloop {

/// Answers what the desktop tells the program as a whole. Main thread only.
class AppDelegate {
 public:
  /// The desktop's services and `settings` outlive the delegate.
  AppDelegate(const Desktop& desktop, Settings& settings);

  /// The launch sequence, once, when the services are there.
  void applicationDidFinishLaunching();
  /// Before each update cycle of the windows, many times a second.
  void applicationWillUpdate();
  [[nodiscard]] bool applicationShouldTerminateAfterLastWindowClosed() const { return true; }

 private:
  void openAuthorizationWindow();
  void clickAtPointer();

  const Desktop desktop_;
  Settings& settings_;
  std::shared_ptr<Window> Awindow_;  // the authorization window, also when it is closed; or null
};

}  // namespace tapeloop
