#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include <xcb/xcb.h>

#include "platform/desktop_services.h"
#include "platform/observable.h"
#include "platform/x11/connection.h"

namespace tapeloop::x11 {

/// Makes sure that a user runs the program once on a display. The first instance owns a selection,
/// which the server frees when the connection ends, even if the program is killed.
class FirstInstance {
 public:
  /// In the first instance `onSecondStart` runs when another one is started, from the run loop.
  FirstInstance(Connection& connection, std::function<void()> onSecondStart);
  FirstInstance(const FirstInstance&) = delete;
  FirstInstance& operator=(const FirstInstance&) = delete;
  ~FirstInstance();

  /// False if there is another one, which has been sent a message by then.
  [[nodiscard]] bool isFirst() const { return isFirst_; }

 private:
  bool claim();

  Connection& connection_;
  const std::uint32_t selection_;
  const std::uint32_t window_;
  bool isFirst_ = false;
  Subscription events_;
};

/// Recording and playing need an X server with RECORD, XTEST, XKB and XInput 2 that is not
/// Xwayland: that one, inside a Wayland session, sees the input of X clients only.
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

/// The keyboard's bell, at the volume that the user has set.
class X11Sound final : public Sound {
 public:
  explicit X11Sound(Connection& connection) : connection_(connection) {}
  void NSBeep() override {
    xcb_bell(connection_.xcb(), 0);
    xcb_flush(connection_.xcb());
  }

 private:
  Connection& connection_;
};

}  // namespace tapeloop::x11
