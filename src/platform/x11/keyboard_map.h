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

struct xkb_context;
struct xkb_keymap;

namespace tapeloop::x11 {

/// The virtual key code of the place on the keyboard with this XKB key name, such as "AC01".
std::optional<std::uint16_t> virtualKeyAt(std::string_view xkbKeyName);

/// The code that stands for an X keycode instead of a place: for a key without a virtual key code
/// of its own, and for a key of the keypad that was used without Num Lock.
constexpr std::uint16_t virtualKeyWithoutPlace(std::uint8_t xKeycode) {
  return static_cast<std::uint16_t>(0x100 + xKeycode);
}

/// What the server's keycodes and modifier bits mean, read anew whenever the keyboard map changes.
/// "Real modifiers" are the eight modifier bits of a core event's state.
class KeyboardMap {
 public:
  using XKeycodes = std::array<std::uint8_t, 0x200>;  ///< By virtual key code; 0: no such key.

  explicit KeyboardMap(Connection& connection);
  KeyboardMap(const KeyboardMap&) = delete;
  KeyboardMap& operator=(const KeyboardMap&) = delete;

  /// The virtual key code of the key's place, or `virtualKeyWithoutPlace`.
  [[nodiscard]] std::uint16_t virtualKey(std::uint8_t xKeycode) const {
    return virtualKeys_[xKeycode];
  }
  /// Nothing when the keyboard has no such key.
  [[nodiscard]] std::optional<std::uint8_t> xKeycode(std::uint16_t virtualKey) const;
  [[nodiscard]] const XKeycodes& xKeycodes() const { return xKeycodes_; }
  /// Whether the key by itself does nothing but change one of the six modifier flags.
  [[nodiscard]] bool isModifierKey(std::uint8_t xKeycode) const { return keyFlags_[xKeycode] != 0; }
  /// Whether a press of the key switches the layout. `state` is that of an event, which contains
  /// modifiers and the layout in force.
  [[nodiscard]] bool switchesLayout(std::uint8_t xKeycode, std::uint16_t state) const;
  /// Whether Num Lock changes what the key does.
  [[nodiscard]] bool dependsOnNumLock(std::uint8_t xKeycode) const {
    return dependsOnNumLock_[xKeycode];
  }
  /// For a key of the keypad, in a state without Num Lock: the virtual key code of the key outside
  /// the keypad that does the same (End for the key of 1), or `virtualKeyWithoutPlace`.
  [[nodiscard]] std::uint16_t virtualKeyWithoutNumLock(std::uint8_t xKeycode,
                                                       std::uint16_t state) const;
  /// The keys that write Escape in this layout.
  [[nodiscard]] std::vector<std::uint8_t> xKeycodesOfEscape(std::uint8_t group) const;

  /// The modifier flags of an event with this state.
  [[nodiscard]] std::uint64_t flagsOf(std::uint16_t state) const;
  /// The real modifiers that stand for these flags.
  [[nodiscard]] std::uint8_t realModifiersOf(std::uint64_t flags) const;
  /// The real modifiers that keys only lock and unlock, such as those of Caps Lock and Num Lock.
  [[nodiscard]] std::uint8_t lockModifiers() const { return lockModifiers_; }
  [[nodiscard]] std::uint8_t numLockModifier() const { return numLockModifier_; }
  /// Of an event's state, the modifiers that are no locks and have no flag.
  [[nodiscard]] std::uint8_t unnamedModifiers(std::uint16_t state) const;

  /// Null when it can't be read.
  [[nodiscard]] std::shared_ptr<xkb_keymap> keymap() const { return keymap_; }
  /// The device number of the core keyboard.
  [[nodiscard]] std::uint16_t device() const { return device_; }

  /// The keyboard map was read anew.
  Subscription onChange(std::function<void()> callback) {
    return changed_.connect(std::move(callback));
  }

 private:
  bool readKeymap();
  void load();

  Connection& connection_;
  const std::shared_ptr<xkb_context> context_;
  std::shared_ptr<xkb_keymap> keymap_;
  std::array<std::uint16_t, 256> virtualKeys_{};  // by keycode
  XKeycodes xKeycodes_{};
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
