#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/x11_desktop.h"
#include "support/x_observer.h"
#include "support/x_poster.h"
#include "support/x_server.h"
#include "support/x_state.h"
#include "support/x_user.h"
#include "support/x_window.h"

namespace tapeloop::support {

/// Long enough for a busy machine; nothing waits for it to pass.
inline constexpr std::chrono::milliseconds patience{30'000};

/// The program on an X server of its own, with a user, another application that has the focus and
/// covers the screen, and a witness.
class X11Test : public testing::Test {
 protected:
  explicit X11Test(const XServerOptions& options = {})
      : server(options),
        user_(makeUser(server, options)),
        poster(*user_),
        window(server.display(), {.width = 1280, .height = 800}),
        observer(server.display()),
        desktop(server.display()) {}

  /// The program goes on until something holds elsewhere. False if that takes too long.
  [[nodiscard]] bool turnUntil(const std::function<bool()>& condition) {
    return desktop.runUntilElsewhere(condition, patience);
  }
  /// The program records while the user does this. What the witness saw of it.
  XEventList::Events record(const std::vector<XAction>& actions);
  /// The program plays what it recorded. What the witness saw of it, once it saw so many events.
  XEventList::Events replay(double speed, std::size_t expected);
  /// `events` without the keys that only change modifiers: those are not recorded.
  [[nodiscard]] XEventList::Events withoutModifierKeys(const XEventList::Events& events) const;
  /// A key and a button are down, and the server does not repeat keys.
  [[nodiscard]] bool isHolding() const;
  /// Nothing is down, and the server repeats keys again.
  [[nodiscard]] bool isNothingHeld() const;

  XServer server;

 private:
  static std::unique_ptr<XUser> makeUser(const XServer& server, const XServerOptions& options);
  std::unique_ptr<XUser> user_;

 protected:
  XUser& poster;  // who posts through XTEST, or has the server's hardware if it is to have any
  XWindow window;
  XObserver observer;
  X11Desktop desktop;
};

void expectSameInput(const XEventList::Events& replayed, const XEventList::Events& recorded);

/// An event `offset` seconds after the first one of its recording.
[[nodiscard]] InputEvent inputEvent(EventType type, double offset, Point place = {});

}  // namespace tapeloop::support
