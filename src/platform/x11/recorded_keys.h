#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "platform/x11/keyboard_map.h"

namespace tapeloop::x11 {

/// Says which key code a key is recorded under, so that posting that key code does again what the
/// key did. A key comes up under the code that it went down under. Main thread only.
class RecordedKeys {
 public:
  explicit RecordedKeys(const KeyboardMap& keyboard) : keyboard_(keyboard) {}

  /// `state` is that of the event. Nothing for a key that only changed modifiers.
  [[nodiscard]] std::optional<std::uint16_t> press(std::uint8_t keycode, std::uint16_t state);
  [[nodiscard]] std::optional<std::uint16_t> release(std::uint8_t keycode, std::uint16_t state);
  /// No key is down any more.
  void clear() { down_.fill(std::nullopt); }

 private:
  [[nodiscard]] std::optional<std::uint16_t> keyCodeOf(std::uint8_t keycode,
                                                       std::uint16_t state) const;

  const KeyboardMap& keyboard_;
  std::array<std::optional<std::uint16_t>, 256> down_{};  // by keycode
};

}  // namespace tapeloop::x11
