#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/observable.h"
#include "platform/x11/connection.h"

struct xkb_keymap;

namespace tapeloop::x11 {

/// A key code that stands for an X keycode and no place: of a key that has no virtual key code of
/// its own, or of one of the keypad that is posted without Num Lock.
constexpr std::uint16_t keyCodeWithoutPlace(std::uint8_t keycode) {
  return static_cast<std::uint16_t>(0x100 + keycode);
}

/// The virtual key code of the place on the keyboard that the XKB key name (such as "AC01") stands
/// for.
std::optional<std::uint16_t> virtualKeyCode(std::string_view xkbKeyName);

/// What the server's keys and modifier bits mean, kept up with changes of the keyboard map. "Real
/// modifiers" are the eight bits of a core event's state. Main thread only.
class KeyboardMap {
 public:
  explicit KeyboardMap(Connection& connection);
  KeyboardMap(const KeyboardMap&) = delete;
  KeyboardMap& operator=(const KeyboardMap&) = delete;
  ~KeyboardMap();

  /// The virtual key code of the key's place, or 0x100 + keycode for a place without one.
  [[nodiscard]] std::uint16_t keyCodeOf(std::uint8_t keycode) const { return keyCodes_[keycode]; }
  /// Nothing when the keyboard has no such key.
  [[nodiscard]] std::optional<std::uint8_t> keycodeOf(std::uint16_t keyCode) const;
  /// The same for all key codes; 0: the keyboard has no such key.
  [[nodiscard]] const std::array<std::uint8_t, 0x200>& keycodes() const { return keycodes_; }
  /// A key that by itself does nothing but change one of the six modifier flags.
  [[nodiscard]] bool isModifierKey(std::uint8_t keycode) const { return keyFlags_[keycode] != 0; }
  /// A press of the key in this state, which names modifiers and the layout, switches the layout.
  [[nodiscard]] bool switchesLayout(std::uint8_t keycode, std::uint16_t state) const;
  /// A key of the keypad that Num Lock makes another one of.
  [[nodiscard]] bool dependsOnNumLock(std::uint8_t keycode) const {
    return dependsOnNumLock_[keycode];
  }
  /// The key code of the key outside the keypad that this one stands for in this state: End for the
  /// key that writes 1 with Num Lock. Nothing when it stands for none.
  [[nodiscard]] std::optional<std::uint16_t> keyCodeStoodFor(std::uint8_t keycode,
                                                             std::uint16_t state) const;
  /// The keys that write Escape in this layout.
  [[nodiscard]] std::vector<std::uint8_t> keycodesWritingEscape(std::uint8_t group) const;

  /// The modifier flags of an event with this state.
  [[nodiscard]] std::uint64_t flagsOf(std::uint16_t state) const;
  /// The real modifiers that make these flags.
  [[nodiscard]] std::uint8_t realModifiersOf(std::uint64_t flags) const;

  /// The real modifiers that are only switched on and off for good, such as those of caps lock and
  /// num lock.
  [[nodiscard]] std::uint8_t lockModifiers() const { return lockModifiers_; }
  [[nodiscard]] std::uint8_t numLockModifier() const { return numLockModifier_; }
  /// Of an event's state, the modifiers that no flag stands for and that a key is held for.
  [[nodiscard]] std::uint8_t unnamedModifiers(std::uint16_t state) const;

  /// Null when it can't be read.
  [[nodiscard]] std::shared_ptr<xkb_keymap> keymap() const;
  /// The number of the keyboard that programs know.
  [[nodiscard]] std::uint16_t device() const { return device_; }

  /// The keyboard map was read anew.
  Subscription onChange(std::function<void()> callback) {
    return changed_.connect(std::move(callback));
  }

 private:
  struct Xkb;

  void load();
  void handle(const xcb_generic_event_t& event);

  Connection& connection_;
  std::unique_ptr<Xkb> xkb_;
  std::array<std::uint16_t, 256> keyCodes_{};       // by keycode
  std::array<std::uint8_t, 0x200> keycodes_{};      // by key code; 0: no such key
  std::array<std::uint64_t, 256> keyFlags_{};       // by keycode: flag of a modifier key, or 0
  std::array<std::uint64_t, 8> flagsOfModifier_{};  // by real modifier
  std::bitset<256> dependsOnNumLock_;               // by keycode
  std::uint8_t lockModifiers_ = 0;
  std::uint8_t numLockModifier_ = 0;
  std::uint16_t device_ = 0;
  bool stale_ = false;  // changed since it was read
  Signal<> changed_;
  Subscription events_;
  Subscription drained_;
};

}  // namespace tapeloop::x11
