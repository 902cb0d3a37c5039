#include "platform/x11/recorded_keys.h"

#include <utility>

namespace tapeloop::x11 {

std::optional<std::uint16_t> RecordedKeys::press(std::uint8_t keycode, std::uint16_t state) {
  // The repeat of a held key is that key again, whatever it would do if it were struck now.
  auto& down = down_[keycode];
  if (!down) down = keyCodeOf(keycode, state);
  return down;
}

std::optional<std::uint16_t> RecordedKeys::release(std::uint8_t keycode, std::uint16_t state) {
  if (const auto down = std::exchange(down_[keycode], std::nullopt)) return down;
  // It went down before anybody listened, or was only a modifier.
  return keyboard_.isModifierKey(keycode) ? std::nullopt : keyCodeOf(keycode, state);
}

std::optional<std::uint16_t> RecordedKeys::keyCodeOf(std::uint8_t keycode,
                                                     std::uint16_t state) const {
  if (keyboard_.isModifierKey(keycode) && !keyboard_.switchesLayout(keycode, state)) {
    return std::nullopt;
  }
  const std::uint16_t place = keyboard_.keyCodeOf(keycode);
  const bool isNumLockOn = (state & keyboard_.numLockModifier()) != 0;
  if (isNumLockOn || !keyboard_.dependsOnNumLock(keycode)) return place;
  // Posted under its own place it would get Num Lock.
  const auto other = keyboard_.keyCodeStoodFor(keycode, state);
  return other ? *other : keyCodeWithoutPlace(keycode);
}

}  // namespace tapeloop::x11
