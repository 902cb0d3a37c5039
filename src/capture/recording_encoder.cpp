#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "capture/json_reader.h"
#include "capture/recording_json.h"
#include "platform/number_text.h"

namespace tapeloop {
namespace {

// About what the row of a pointer move takes. Reserved memory that is not used costs nothing.
constexpr std::size_t bytesPerRow = 64;
// Integral doubles below this are written without an exponent, which is faster as integers.
constexpr double plainIntegers = 1e15;

/// Appends values to a text. The result is empty if any of them could not be written.
class Encoder {
 public:
  void record(const Recording& recording) {
    text_.reserve(text_.size() + recording.typeArray.size() * bytesPerRow);
    char separator = '{';
    forEachMember(recording, [&](std::string_view name, const auto& member) {
      text_ += std::exchange(separator, ',');
      value(name);
      text_ += ':';
      value(member);
    });
    text_ += '}';
  }

  void value(std::string_view string) {
    text_ += '"';
    std::size_t copied = 0;
    for (std::size_t i = 0; i < string.size();) {
      const auto byte = static_cast<unsigned char>(string[i]);
      if (byte >= 0x80) {
        const std::size_t length = sequenceLength(string.substr(i));
        valid_ = valid_ && length > 0;
        i += std::max<std::size_t>(length, 1);
        continue;
      }
      if (byte < 0x20 || byte == '"' || byte == '\\') {
        text_.append(string, copied, i - copied);
        escape(byte);
        copied = i + 1;
      }
      ++i;
    }
    text_.append(string, copied) += '"';
  }

  [[nodiscard]] std::optional<std::string> result() && {
    if (!valid_) return std::nullopt;
    return std::move(text_);
  }

 private:
  template <typename T>
  void value(const std::vector<T>& column) {
    text_ += '[';
    bool isFirst = true;
    for (const T& element : column) {
      if (!std::exchange(isFirst, false)) text_ += ',';
      value(element);
    }
    text_ += ']';
  }

  void value(const std::string& string) { value(std::string_view(string)); }
  void value(const Uuid& uuid) { value(uuid.text()); }

  void value(std::integral auto number) { text_ += NumberText(number); }

  void value(double number) {
    const bool isPlain = std::abs(number) < plainIntegers && number == std::trunc(number);
    if (isPlain && !(number == 0 && std::signbit(number))) {
      value(static_cast<std::int64_t>(number));
      return;
    }
    valid_ = valid_ && std::isfinite(number);
    text_ += NumberText(number);
  }

  void escape(unsigned char byte) {
    constexpr std::string_view hexDigits = "0123456789abcdef";
    text_ += '\\';
    switch (byte) {
      case '"':
      case '\\':
        text_ += static_cast<char>(byte);
        break;
      case '\n':
        text_ += 'n';
        break;
      case '\r':
        text_ += 'r';
        break;
      case '\t':
        text_ += 't';
        break;
      default:
        text_ += "u00";
        text_ += hexDigits[byte >> 4];
        text_ += hexDigits[byte & 0x0F];
    }
  }

  std::string text_;
  bool valid_ = true;
};

}  // namespace

std::optional<std::string> encodeRecording(const Recording& recording) {
  Encoder encoder;
  encoder.record(recording);
  return std::move(encoder).result();
}

std::optional<std::string> encodeText(std::string_view text) {
  Encoder encoder;
  encoder.value(text);
  return std::move(encoder).result();
}

}  // namespace tapeloop
