#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>

#include "platform/keyboard_layout.h"
#include "platform/observable.h"
#include "platform/x11/connection.h"
#include "platform/x11/keyboard_map.h"

namespace tapeloop::x11 {

/// The modifiers and the layout that the user has set, as of the event that is being handled: the
/// server sends a change before any key event that came after it. What this program locks for a
/// posted key is left out. Modifiers are real ones, the eight bits of a core event's state.
class KeyboardState {
 public:
  KeyboardState(Connection& connection, KeyboardMap& keyboard);
  KeyboardState(const KeyboardState&) = delete;
  KeyboardState& operator=(const KeyboardState&) = delete;

  /// Those in force: held, latched and locked.
  [[nodiscard]] std::uint8_t modifiers() const { return held_ | latched_ | locked_; }
  /// Those whose keys are down.
  [[nodiscard]] std::uint8_t heldModifiers() const { return held_; }
  /// The number of the layout.
  [[nodiscard]] std::uint8_t group() const { return group_; }

  /// From here to `unlockAfterPosting` exactly these of the modifiers in `mask` are locked, without
  /// any key going down. Nothing between the two may wait for the server: a key of the user's could
  /// come in between.
  void lockForPosting(std::uint8_t mask, std::uint8_t modifiers);
  /// Sets the user's locks again.
  void unlockAfterPosting();

  Subscription onModifiers(std::function<void()> callback) {
    return modifiersChanged_.connect(std::move(callback));
  }
  /// Another layout is in force, or the keyboard map was read anew.
  Subscription onLayout(std::function<void()> callback) {
    return layoutChanged_.connect(std::move(callback));
  }

 private:
  void handle(const xcb_generic_event_t& event);
  void followLocks(std::uint8_t locked, std::uint32_t sequence, bool byLockRequest);
  void requestLocks(std::uint8_t modifiers);
  [[nodiscard]] bool isOwnRequest(std::uint32_t sequence);

  Connection& connection_;
  std::uint8_t held_ = 0;
  std::uint8_t latched_ = 0;
  std::uint8_t locked_ = 0;
  std::uint8_t lockedByServer_ = 0;  // as last notified, what is locked for posting included
  std::uint8_t group_ = 0;
  std::uint8_t postingMask_ = 0;  // the modifiers that posting has locked or unlocked so far
  bool isPosting_ = false;
  std::uint32_t latestRequest_ = 0;     // number of the latest one that sets locks; 0: none yet
  std::deque<std::uint32_t> requests_;  // of those, the ones whose notification has not come
  Signal<> modifiersChanged_;
  Signal<> layoutChanged_;
  Subscription keyboard_;
  Subscription events_;
};

/// What the keys write: the layouts are the groups of the server's keyboard map.
class X11KeyboardLayouts final : public KeyboardLayouts {
 public:
  X11KeyboardLayouts(const KeyboardMap& keyboard, KeyboardState& state)
      : keyboard_(keyboard), state_(state) {}

  [[nodiscard]] std::shared_ptr<const InputSource>
  TISCopyCurrentASCIICapableKeyboardLayoutInputSource() override;
  [[nodiscard]] std::uint8_t LMGetKbdType() const override;
  Subscription onChange(std::function<void()> callback) override {
    return state_.onLayout(std::move(callback));
  }

 private:
  const KeyboardMap& keyboard_;
  KeyboardState& state_;
  std::shared_ptr<const InputSource> ansi_;  // made when it is first needed
};

}  // namespace tapeloop::x11
