#include <charconv>
#include <cmath>
#include <cstdint>

#include "capture/recording_json.h"

namespace tapeloop {
namespace {

// About what a row of a pointer move takes; room that is not used is never touched.
constexpr std::size_t bytesPerRow = 64;
// Below this every integral double is written without an exponent, by the faster way.
constexpr double plainIntegers = 1e15;

/// The length of the UTF-8 sequence that begins `text` with a byte from 0x80 up, or 0 if it is
/// none. Overlong forms, surrogates and values beyond U+10FFFF are none.
std::size_t sequenceLength(std::string_view text) {
  const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  const std::size_t length = lead < 0xC2   ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF5 ? 4
                                           : 0;
  if (length == 0 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  const bool overlong = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xF0 && byte(1) < 0x90);
  const bool surrogate = lead == 0xED && byte(1) >= 0xA0;
  const bool tooLarge = lead == 0xF4 && byte(1) >= 0x90;
  return overlong || surrogate || tooLarge ? 0 : length;
}

/// Appends values to a text. Once one of them could not be written `valid` stays false.
class Encoder {
 public:
  void record(const Recording& recording) {
    text_.reserve(text_.size() + recording.typeArray.size() * bytesPerRow);
    text_ += "{\"title\":";
    value(recording.title);
    text_ += ",\"uniqueID\":\"";
    text_ += recording.uniqueID.text();
    text_ += '"';
    column("typeArray", recording.typeArray);
    column("timestampArray", recording.timestampArray);
    column("locXArray", recording.locXArray);
    column("locYArray", recording.locYArray);
    column("scrollingDeltaXArray", recording.scrollingDeltaXArray);
    column("scrollingDeltaYArray", recording.scrollingDeltaYArray);
    column("charArray", recording.charArray);
    column("modifierArray", recording.modifierArray);
    column("clickCountArray", recording.clickCountArray);
    text_ += '}';
  }

  void list(std::span<const Recording> recordings) {
    text_ += '[';
    for (const Recording& recording : recordings) {
      if (&recording != recordings.data()) text_ += ',';
      record(recording);
    }
    text_ += ']';
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
  void column(std::string_view name, const std::vector<T>& elements) {
    text_.append(",\"").append(name).append("\":[");
    bool first = true;
    for (const T& element : elements) {
      if (!first) text_ += ',';
      first = false;
      value(element);
    }
    text_ += ']';
  }

  void value(std::integral auto number) {
    char digits[24];
    text_.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
  }

  void value(double number) {
    const bool isPlain = std::abs(number) < plainIntegers && number == std::trunc(number);
    if (isPlain && !(number == 0 && std::signbit(number))) {
      value(static_cast<std::int64_t>(number));
      return;
    }
    valid_ = valid_ && std::isfinite(number);
    char digits[32];
    text_.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
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

std::optional<std::string> encodeRecordings(std::span<const Recording> recordings) {
  Encoder encoder;
  encoder.list(recordings);
  return std::move(encoder).result();
}

std::optional<std::string> encodeText(std::string_view text) {
  Encoder encoder;
  encoder.value(text);
  return std::move(encoder).result();
}

}  // namespace tapeloop
