#pragma once

#include <chrono>
#include <functional>
#include <initializer_list>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hotkeys/shortcut.h"
#include "support/x11_desktop.h"
#include "support/x_events.h"
#include "support/x_server.h"
#include "support/x_state.h"
#include "support/x_user.h"

namespace tapeloop::support {

/// Long enough for a busy machine; nothing waits for it to pass.
inline constexpr std::chrono::milliseconds timeout{30'000};

inline const Shortcut controlOptionR{15, controlKey | optionKey};
inline const Shortcut controlOptionP{35, controlKey | optionKey};

using Keys = std::vector<std::string_view>;

/// The program on an X server of its own, with a user, another application that has the focus and
/// covers the screen, and a witness.
class X11Test : public testing::Test {
 protected:
  using Events = XEventList::Events;

  explicit X11Test(const XServerOptions& options = {})
      : server(options),
        user(options.hardware ? XUser(server) : XUser(server.display())),
        window(server.display(), {.width = 1280, .height = 800}),
        observer(server.display()),
        desktop(server.display()) {}

  /// The program goes on until something holds elsewhere. False if that takes too long.
  [[nodiscard]] bool turnUntil(const std::function<bool()>& condition) {
    return desktop.runUntilElsewhere(condition, timeout);
  }
  /// Returns when the program has handled everything that the user has done so far.
  void settle();
  /// Another layout; returns when the program has read it.
  void useLayout(const std::string& layout, const std::string& option = {},
                 const std::string& variant = {});

  // Add to `actions`.
  void move(int x, int y);
  void press(std::uint8_t button) { actions.push_back({XEventKind::buttonPress, button}); }
  void release(std::uint8_t button) { actions.push_back({XEventKind::buttonRelease, button}); }
  void click(std::uint8_t button);
  void type(std::string_view text) { add(user.typing(text)); }
  void strike(const Keys& keys) { add(user.striking(keys)); }

  /// The program records while the user does what is in `actions`, at their offsets. What the
  /// witness saw of it.
  Events record();
  /// The program plays what it recorded. What the witness saw of it, once it saw so many events
  /// besides keys that only change modifiers.
  Events replay(double speed, std::size_t expected);
  /// `events` without the keys that only change modifiers: those are not recorded.
  [[nodiscard]] Events withoutModifierKeys(const Events& events) const;
  /// The presses that the other application received, without those of modifier keys.
  [[nodiscard]] std::vector<std::uint8_t> keysSeen() const;
  [[nodiscard]] std::ptrdiff_t timesSeen(std::string_view key) const;

  /// A key and a button are down, and the server does not repeat keys.
  [[nodiscard]] bool isHolding() const;
  /// Nothing is down, and the server repeats keys again.
  [[nodiscard]] bool isNothingHeld() const;
  [[nodiscard]] std::uint16_t modifiersInForce() const {
    return pointerState(server.display()).modifiers;
  }
  /// Control+Option+R records, Control+Option+P plays.
  void setShortcuts();

  XServer server;
  const XUser user;  // through XTEST, or with the server's hardware if it is to have any
  XWindow window;
  XObserver observer;
  X11Desktop desktop;
  std::vector<XAction> actions;

 private:
  void add(const std::vector<XAction>& more) {
    actions.insert(actions.end(), more.begin(), more.end());
  }
};

void expectSameInput(const XEventList::Events& replayed, const XEventList::Events& recorded);

/// An event `offset` seconds after the first one of its recording.
[[nodiscard]] InputEvent inputEvent(EventType type, double offset, Point place = {});

}  // namespace tapeloop::support
