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

/// The modifiers and the layout that the person has brought about, as of the event that is being
/// handled: the server tells of a change before it tells of any key that came after it. What this
/// program locks for a posted key does not count. Modifiers are real ones, the eight bits of a core
/// event's state. Main thread only.
class KeyboardState {
 public:
  explicit KeyboardState(Connection& connection);
  KeyboardState(const KeyboardState&) = delete;
  KeyboardState& operator=(const KeyboardState&) = delete;

  /// Those that a key which the person strikes is delivered with.
  [[nodiscard]] std::uint8_t modifiers() const { return held_ | latched_ | locked_; }
  /// Those whose keys are down.
  [[nodiscard]] std::uint8_t heldModifiers() const { return held_; }
  /// Those that are in force without a key that is down.
  [[nodiscard]] std::uint8_t lockedModifiers() const { return locked_; }
  /// The number of the layout.
  [[nodiscard]] std::uint8_t group() const { return group_; }

  /// From here to `unlockAfterPosting` exactly these of the modifiers in `mask` are locked, without
  /// any key going down. What is between them is one stream of requests.
  void lockForPosting(std::uint8_t mask, std::uint8_t modifiers);
  /// The locks that the person has set are in force again.
  void unlockAfterPosting();

  Subscription onModifiers(std::function<void()> callback) {
    return modifiersChanged_.connect(std::move(callback));
  }
  Subscription onGroup(std::function<void()> callback) {
    return groupChanged_.connect(std::move(callback));
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
  std::uint8_t lockedByServer_ = 0;  // as last told: what we lock for a posted key is in it
  std::uint8_t group_ = 0;
  std::uint8_t postingMask_ = 0;  // what we may have changed
  bool isPosting_ = false;
  std::uint32_t latestRequest_ = 0;     // of ours that locks; 0: none yet
  std::deque<std::uint32_t> requests_;  // of ours that lock, whose effect has not been told yet
  Signal<> modifiersChanged_;
  Signal<> groupChanged_;
  Subscription events_;
};

/// The groups of the server's keyboard map. Main thread only.
class X11KeyboardLayouts final : public KeyboardLayouts {
 public:
  /// What is handed in outlives this.
  X11KeyboardLayouts(KeyboardMap& keyboard, KeyboardState& state)
      : keyboard_(keyboard), state_(state) {}

  [[nodiscard]] std::shared_ptr<const InputSource>
  TISCopyCurrentASCIICapableKeyboardLayoutInputSource() override;
  [[nodiscard]] std::uint8_t LMGetKbdType() const override;
  Subscription onChange(std::function<void()> callback) override;

 private:
  KeyboardMap& keyboard_;
  KeyboardState& state_;
  std::shared_ptr<const InputSource> ansi_;  // made when it is first needed
};

}  // namespace tapeloop::x11
