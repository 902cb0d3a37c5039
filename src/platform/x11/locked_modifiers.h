#pragma once

#include <cstdint>

#include "platform/x11/keyboard_map.h"

namespace tapeloop::x11 {

/// Sets the modifiers that a posted key is delivered with, without any modifier key going down, and
/// puts the person's own locks back behind it. Modifiers that a person physically holds can't be
/// taken away. Main thread only.
class LockedModifiers {
 public:
  LockedModifiers(Connection& connection, const KeyboardMap& keyboard);

  /// Takes the locks that are in force now as the person's own.
  void refresh();
  /// What is posted between these two is delivered with exactly the modifiers of `flags`, apart
  /// from those that are not ours to set, such as NumLock.
  void apply(std::uint64_t flags);
  void restore();

 private:
  void handle(const xcb_generic_event_t& event);
  void lock(std::uint8_t modifiers);

  Connection& connection_;
  const KeyboardMap& keyboard_;
  std::uint8_t own_ = 0;  // real modifiers that the person has locked
  bool applied_ = false;  // others are in force
  Subscription events_;
};

}  // namespace tapeloop::x11
