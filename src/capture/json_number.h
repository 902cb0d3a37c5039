#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tapeloop {

// What a number is worth that stands in a JSON text, however it is written.

/// The nearest double; a zero if all others are larger. Nothing if it is larger than all of them.
[[nodiscard]] std::optional<double> floatOf(std::string_view number);

/// Nothing unless the value is integral, to the last digit, and in range.
[[nodiscard]] std::optional<std::int64_t> integerOf(std::string_view number);

}  // namespace tapeloop
