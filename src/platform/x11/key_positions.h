#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tapeloop::x11 {

/// Key codes from here on are X keycodes of keys that have no virtual key code of their own.
inline constexpr std::uint16_t firstForeignKeyCode = 0x100;

/// The virtual key code of the place on the keyboard that the XKB key name (such as "AC01") stands
/// for.
std::optional<std::uint16_t> virtualKeyCode(std::string_view xkbKeyName);

}  // namespace tapeloop::x11
