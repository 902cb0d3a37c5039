#pragma once

#include <memory>

#include "controller/buttons.h"
#include "controller/settings.h"
#include "platform/desktop.h"
#include "platform/window_system.h"

namespace tapeloop {

/// Tells the user how to give the permission to observe and post input. It neither checks the
/// permission nor closes its window when it is given.
class AuthorizeView final : public View {
 public:
  AuthorizeView(Workspace& workspace, Trace& trace) : informationButton_(workspace, trace) {}

  [[nodiscard]] InformationButton& informationButton() { return informationButton_; }

 private:
  InformationButton informationButton_;
};

/// What happens when the program starts, and what holds for its windows as a whole.
class AppDelegate {
 public:
  AppDelegate(const Desktop& desktop, Settings& settings);

  /// The launch sequence. Called once, when the services are there.
  void applicationDidFinishLaunching();
  /// Called before each update cycle of the windows, many times a second.
  void applicationWillUpdate();
  /// Nothing calls it: Qt quits by itself after the last window, as this says.
  [[nodiscard]] bool applicationShouldTerminateAfterLastWindowClosed() const { return true; }

 private:
  void openAuthorizationWindow();
  void clickAtPointer();

  const Desktop desktop_;
  Settings& settings_;
  std::shared_ptr<Window> Awindow_;  // the authorization window, kept when closed; null: not needed
};

}  // namespace tapeloop
