#pragma once

#include <string>

#include "support/x_user.h"

namespace tapeloop::support {

/// A user who is a client: it posts input through XTEST.
class XPoster final : public XUser {
 public:
  explicit XPoster(const std::string& display) : XUser(display) {}
  void post(const XAction& action) const override;
};

}  // namespace tapeloop::support
