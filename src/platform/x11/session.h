#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include <xcb/xcb.h>

#include "platform/desktop_services.h"
#include "platform/observable.h"
#include "platform/x11/connection.h"

namespace tapeloop::x11 {

/// Tells the first program of a user on a display from later ones. The server knows the first one
/// by a selection, which it takes back when that program ends, however it ends. Main thread only.
class FirstInstance {
 public:
  /// `connection` outlives this object. `onSecondStart` runs when another one has asked for the
  /// first, from the run loop.
  FirstInstance(Connection& connection, std::function<void()> onSecondStart);
  FirstInstance(const FirstInstance&) = delete;
  FirstInstance& operator=(const FirstInstance&) = delete;
  ~FirstInstance();

  /// False if there is another one, which has been told by then.
  [[nodiscard]] bool isFirst() const { return isFirst_; }

 private:
  bool claim();

  Connection& connection_;
  const std::uint32_t selection_;
  const std::uint32_t window_;
  bool isFirst_ = false;
  Subscription events_;
};

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
