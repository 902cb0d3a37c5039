#pragma once

#include "controller/buttons.h"
#include "platform/window_system.h"

namespace tapeloop {

/// Tells the user how to let the program observe and post input. It neither checks the permission
/// nor waits for it. Main thread only.
class AuthorizeView final : public View {
 public:
  /// Both outlive the view.
  AuthorizeView(Workspace& workspace, Trace& trace) : informationButton_(workspace, trace) {}

  [[nodiscard]] InformationButton& informationButton() { return informationButton_; }

 private:
  InformationButton informationButton_;
};

}  // namespace tapeloop
