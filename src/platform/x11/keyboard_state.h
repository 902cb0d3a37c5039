#pragma once

#include <cstdint>
#include <functional>

#include "platform/signal.h"
#include "platform/x11/connection.h"

namespace tapeloop::x11 {

/// The modifiers and the layout in force, as of the event that is being handled: the server tells
/// of a change before it tells of any key that came after it. Main thread only.
class KeyboardState {
 public:
  explicit KeyboardState(Connection& connection);
  KeyboardState(const KeyboardState&) = delete;
  KeyboardState& operator=(const KeyboardState&) = delete;

  /// Real modifiers that a key is delivered with.
  [[nodiscard]] std::uint8_t modifiers() const { return modifiers_; }
  /// Real modifiers whose keys are down.
  [[nodiscard]] std::uint8_t heldModifiers() const { return held_; }
  /// The number of the layout.
  [[nodiscard]] std::uint8_t group() const { return group_; }

  Subscription onModifiers(std::function<void()> callback) {
    return modifiersChanged_.connect(std::move(callback));
  }
  Subscription onGroup(std::function<void()> callback) {
    return groupChanged_.connect(std::move(callback));
  }

 private:
  void handle(const xcb_generic_event_t& event);

  Connection& connection_;
  std::uint8_t modifiers_ = 0;
  std::uint8_t held_ = 0;
  std::uint8_t group_ = 0;
  Signal<> modifiersChanged_;
  Signal<> groupChanged_;
  Subscription events_;
};

}  // namespace tapeloop::x11
