#pragma once

#include "platform/desktop_services.h"

namespace tapeloop::qt {

/// No desktop that this program runs on takes reviews.
class AppReview final : public tapeloop::AppReview {
 public:
  void requestReview() override {}
};

}  // namespace tapeloop::qt
