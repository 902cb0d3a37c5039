#pragma once

#include <cstdint>
#include <string>

namespace tapeloop {

// Modifier bits are the hotkey service's (`cmdKey` and the like), modifier flags those of events
// (`modifier_flag`). Caps lock and function have a flag and no bit.

/// What has no bit is left out.
[[nodiscard]] std::uint32_t modifierBits(std::uint64_t flags);
/// Other bits are ignored.
[[nodiscard]] std::uint64_t modifierFlags(std::uint64_t bits);
/// The glyphs of control, option, shift and command, in this order, UTF-8.
[[nodiscard]] std::string modifierGlyphs(std::uint64_t flags);

}  // namespace tapeloop
