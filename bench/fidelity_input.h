#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "support/x_events.h"
#include "support/x_user.h"

// What a user does at random, with distances of 2 to 30 ms between the events.

namespace tapeloop::bench {

namespace keycode {
inline constexpr std::uint8_t control = 37;
inline constexpr std::uint8_t alt = 64;
inline constexpr std::uint8_t r = 27;
inline constexpr std::uint8_t p = 33;
inline constexpr std::uint8_t s = 39;
}  // namespace keycode

using Random = std::mt19937;

/// Typing of `keys` keys: characters on every level, dead keys, Caps Lock, keys that overlap and
/// keys that are held until they repeat, and the keys that edit and move the caret. Its first keys
/// write something, its last event is the release of Return. Without `hasLevel3` the layout has no
/// AltGr.
[[nodiscard]] std::vector<support::XAction> randomTyping(Random& random, std::size_t keys,
                                                         bool hasLevel3);

/// Which of the buttons that programs know are pressed.
enum class Buttons : std::uint8_t { leftAndRight, all };

/// `works` pieces of pointer work on a screen of this size: moves, drags, clicks, double clicks,
/// and the wheel. Begins with a move and ends with a click of the left button.
[[nodiscard]] std::vector<support::XAction> randomDrawing(Random& random, std::size_t works,
                                                          int width, int height, Buttons buttons);

}  // namespace tapeloop::bench
