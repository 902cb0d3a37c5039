#pragma once

#include <string>

#include "platform/desktop_services.h"
#include "platform/x11/connection.h"

namespace tapeloop::x11 {

/// Recording and playing are possible on an X server of its own right that offers RECORD, XTEST,
/// XKB and version 2 of the input extension. A server that runs inside a Wayland session sees only
/// its own clients and is not enough.
class X11Permission final : public Permission {
 public:
  explicit X11Permission(const Connection& connection);
  [[nodiscard]] bool AXIsProcessTrusted() const override;
  /// What is missing and what to do about it, as one line for the user. Empty if nothing is.
  [[nodiscard]] std::string advice() const;

 private:
  const Connection& connection_;
  const bool inWayland_;
};

}  // namespace tapeloop::x11
