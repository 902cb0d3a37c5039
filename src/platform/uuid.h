#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tapeloop {

/// A universally unique identifier.
struct Uuid {
  std::array<std::uint8_t, 16> bytes{};

  /// A new random one (version 4).
  static Uuid random();
  /// Accepts either case. Nothing if `text` is not 8-4-4-4-12 hexadecimal digits.
  static std::optional<Uuid> parse(std::string_view text);
  /// Canonical, in upper case: 36 characters.
  [[nodiscard]] std::string text() const;
  friend bool operator==(const Uuid&, const Uuid&) = default;
};

}  // namespace tapeloop
