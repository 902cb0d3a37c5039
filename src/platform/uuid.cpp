#include "platform/uuid.h"

#include <random>

namespace tapeloop {
namespace {

constexpr std::string_view hexDigits = "0123456789ABCDEF";
constexpr std::size_t uuidTextLength = 36;

constexpr bool isHyphenPosition(std::size_t position) {
  return position == 8 || position == 13 || position == 18 || position == 23;
}

int hexValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return -1;
}

}  // namespace

Uuid Uuid::random() {
  std::random_device device;
  Uuid uuid;
  for (auto& byte : uuid.bytes) byte = static_cast<std::uint8_t>(device());
  uuid.bytes[6] = static_cast<std::uint8_t>((uuid.bytes[6] & 0x0F) | 0x40);
  uuid.bytes[8] = static_cast<std::uint8_t>((uuid.bytes[8] & 0x3F) | 0x80);
  return uuid;
}

std::optional<Uuid> Uuid::parse(std::string_view text) {
  if (text.size() != uuidTextLength) return std::nullopt;
  Uuid uuid;
  std::size_t nibble = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isHyphenPosition(i)) {
      if (text[i] != '-') return std::nullopt;
      continue;
    }
    const int value = hexValue(text[i]);
    if (value < 0) return std::nullopt;
    auto& byte = uuid.bytes[nibble++ / 2];
    byte = static_cast<std::uint8_t>(byte << 4 | value);
  }
  return uuid;
}

std::string Uuid::text() const {
  std::string text;
  text.reserve(uuidTextLength);
  for (const std::uint8_t byte : bytes) {
    if (isHyphenPosition(text.size())) text += '-';
    text += hexDigits[byte >> 4];
    text += hexDigits[byte & 0x0F];
  }
  return text;
}

}  // namespace tapeloop
