#pragma once

#include <xcb/xcb.h>

#include "platform/desktop_services.h"
#include "platform/x11/connection.h"

namespace tapeloop::x11 {

/// The keyboard's bell, at the volume that the user has set. Main thread only.
class X11Sound final : public Sound {
 public:
  /// `connection` outlives this.
  explicit X11Sound(Connection& connection) : connection_(connection) {}
  void NSBeep() override {
    xcb_bell(connection_.xcb(), 0);
    xcb_flush(connection_.xcb());
  }

 private:
  Connection& connection_;
};

}  // namespace tapeloop::x11
