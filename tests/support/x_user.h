#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/x_events.h"

namespace tapeloop::support {

class XServer;

/// One input event to post, `offset` after the start of its list.
struct XAction {
  XEventKind kind = XEventKind::motion;
  std::uint8_t detail = 0;  ///< X keycode or button.
  std::int16_t x = 0;       ///< Motions: root coordinates.
  std::int16_t y = 0;
  std::chrono::nanoseconds offset{0};
};

/// Plays the user, through XTEST or with devices. `post` may be called from one thread at a time.
class XUser {
 public:
  /// Posts through XTEST.
  explicit XUser(const std::string& display);
  /// Moves the keyboard and the mouse, with a wheel, of an X.Org server. What they do comes through
  /// the server's driver and its input thread.
  explicit XUser(const XServer& server);
  XUser(const XUser&) = delete;
  XUser& operator=(const XUser&) = delete;
  ~XUser();

  /// May queue the event; `flush` or `sync` sends it.
  void post(const XAction& action) const;
  void flush() const { xcb_flush(connection_); }
  /// Returns when the server has taken everything in.
  void sync() const { connection_.sync(); }

  // Each of these returns when the server has taken the event in.
  void moveTo(int x, int y) const;
  void press(std::uint8_t button) const { postNow(XEventKind::buttonPress, button); }
  void release(std::uint8_t button) const { postNow(XEventKind::buttonRelease, button); }
  void click(std::uint8_t button) const;
  void pressKey(std::uint8_t keycode) const { postNow(XEventKind::keyPress, keycode); }
  void releaseKey(std::uint8_t keycode) const { postNow(XEventKind::keyRelease, keycode); }
  void tapKey(std::uint8_t keycode) const;
  void pressKey(std::string_view keysym) const { pressKey(keycode(keysym)); }
  void releaseKey(std::string_view keysym) const { releaseKey(keycode(keysym)); }
  void tapKey(std::string_view keysym) const { tapKey(keycode(keysym)); }
  /// Presses all of them, and releases them in the opposite order.
  void strike(const std::vector<std::string_view>& keysyms, int times = 1) const;
  /// Latin-1 text, with Shift and AltGr as the keyboard map asks for them.
  void typeText(std::string_view text) const;

  /// The key that bears the keysym of this name ("a", "Shift_L"); throws when there is none.
  [[nodiscard]] std::uint8_t keycode(std::string_view keysym) const;
  /// The events that type `text`.
  [[nodiscard]] std::vector<XAction> typing(std::string_view text) const;
  /// The events of `strike`.
  [[nodiscard]] std::vector<XAction> striking(const std::vector<std::string_view>& keysyms) const;

  /// Posts each action at its offset, with one flush each, and returns after the last one.
  /// Lateness does not add up.
  void run(const std::vector<XAction>& actions) const;
  /// The same in a thread of its own.
  [[nodiscard]] std::jthread start(std::vector<XAction> actions) const;

 private:
  struct Hardware;
  struct Key {
    std::uint8_t keycode = 0;
    bool shift = false;
    bool level3 = false;
  };
  [[nodiscard]] Key find(xcb_keysym_t keysym) const;
  void postNow(XEventKind kind, std::uint8_t detail) const;

  XConnection connection_;
  const std::unique_ptr<const Hardware> hardware_;  // null: XTEST
};

/// Gives the actions offsets in order, each `gap` after the one before.
void pace(std::vector<XAction>& actions, std::chrono::nanoseconds gap);

}  // namespace tapeloop::support
