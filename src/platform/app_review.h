#pragma once

namespace tapeloop {

/// Asks the user for a review of the program. Whether anything is shown is up to the desktop.
class AppReview {
 public:
  virtual ~AppReview() = default;
  virtual void requestReview() = 0;
};

}  // namespace tapeloop
