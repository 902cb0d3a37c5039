#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <locale>
#include <sstream>
#include <string>
#include <utility>

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include "capture/recording_json.h"

namespace tapeloop {
namespace {

// Up to here doubles and integers are the same.
constexpr double exactIntegers = 9007199254740992.0;

// Numbers the names below.
enum Member : std::size_t {
  title,
  uniqueID,
  typeArray,
  timestampArray,
  locXArray,
  locYArray,
  scrollingDeltaXArray,
  scrollingDeltaYArray,
  charArray,
  modifierArray,
  clickCountArray,
  memberCount
};
constexpr std::array<std::string_view, memberCount> memberNames = {
    "title",
    "uniqueID",
    "typeArray",
    "timestampArray",
    "locXArray",
    "locYArray",
    "scrollingDeltaXArray",
    "scrollingDeltaYArray",
    "charArray",
    "modifierArray",
    "clickCountArray",
};
constexpr unsigned allMembers = (1U << memberCount) - 1;

/// The nearest double; nothing if the number is larger, or smaller, than every one of them.
std::optional<double> parseInRange(std::string_view digits) {
  double value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (error != std::errc{}) return std::nullopt;
  return value;
}

/// A number too small for any other double is a zero.
std::optional<double> parseFloat(std::string_view digits) {
  if (const auto value = parseInRange(digits)) return value;
  // A stream tells too small from too large, at its leisure.
  std::istringstream stream{std::string(digits)};
  stream.imbue(std::locale::classic());
  double value = 0;
  stream >> value;
  if (stream.fail()) return std::nullopt;
  return value;
}

std::optional<std::int64_t> parseInteger(std::string_view digits) {
  std::int64_t value = 0;
  const char* last = digits.data() + digits.size();
  const auto [end, error] = std::from_chars(digits.data(), last, value);
  if (error == std::errc{} && end == last) return value;
  if (digits.find_first_of(".eE") == std::string_view::npos) return std::nullopt;
  const auto number = parseInRange(digits);
  if (!number || std::abs(*number) > exactIntegers || *number != std::trunc(*number)) {
    return std::nullopt;
  }
  return static_cast<std::int64_t>(*number);
}

/// The parser refuses half a surrogate pair in an escape unless it is the second half, which it
/// turns into bytes that are not UTF-8.
bool holdsSurrogate(std::string_view text) {
  for (std::size_t i = text.find('\xED'); i != std::string_view::npos;
       i = text.find('\xED', i + 1)) {
    if (static_cast<unsigned char>(text[i + 1]) >= 0xA0) return true;
  }
  return false;
}

/// Takes the parser's events; each answer says whether the text is still valid. Nesting that a
/// record has no place for is refused or counted, so that no depth of it takes stack.
class Decoder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Decoder> {
 public:
  enum class Root : std::uint8_t { record, list };
  explicit Decoder(Root root)
      : place_(root == Root::list ? Place::beforeList : Place::beforeRecord) {}

  [[nodiscard]] std::vector<Recording>& records() { return records_; }

  /// Only the places of the records are wanted: they are read one after the other into the same
  /// memory. `stream` is what is being read; null for both when it has been.
  void indexInto(std::vector<RecordingSpan>* spans, const rapidjson::MemoryStream* stream) {
    spans_ = spans;
    stream_ = stream;
  }

  // What is called for values that have no rule of their own: null, true and false.
  bool Default() { return isSkipping(); }

  bool RawNumber(const char* digits, rapidjson::SizeType size, bool) {
    if (place_ != Place::column) return isSkipping();
    const std::string_view text(digits, size);
    if (floats_) {
      const auto value = parseFloat(text);
      if (value) floats_->push_back(*value);
      return value.has_value();
    }
    if (texts_) return false;
    const auto value = parseInteger(text);
    if (!value) return false;
    if (member_ == clickCountArray) {
      record().clickCountArray.push_back(*value);
      return true;
    }
    if (!std::in_range<std::uint16_t>(*value)) return false;
    record().charArray.push_back(static_cast<std::uint16_t>(*value));
    return true;
  }

  bool String(const char* characters, rapidjson::SizeType size, bool) {
    const std::string_view text(characters, size);
    if (holdsSurrogate(text)) return false;
    if (place_ == Place::column && texts_) {
      texts_->emplace_back(text);
      return true;
    }
    if (place_ != Place::member) return isSkipping();
    if (member_ == memberCount) return endMember();
    if (member_ == title) {
      record().title = text;
      if (spans_) endTitle();
      return endMember();
    }
    const auto uuid = member_ == uniqueID ? Uuid::parse(text) : std::nullopt;
    if (!uuid) return false;
    record().uniqueID = *uuid;
    if (spans_) span().isCanonical &= text == uuid->text();
    return endMember();
  }

  bool StartObject() {
    if (place_ == Place::beforeRecord || place_ == Place::list) {
      inList_ = place_ == Place::list;
      if (!spans_ || records_.empty()) records_.emplace_back();
      if (spans_) beginSpan();
      seen_ = 0;
      longestColumn_ = 0;
      place_ = Place::record;
      return true;
    }
    return startSkipped();
  }

  bool Key(const char* characters, rapidjson::SizeType size, bool) {
    if (skippedDepth_ > 0) return true;
    const auto known = std::ranges::find(memberNames, std::string_view(characters, size));
    const auto member = static_cast<std::size_t>(known - memberNames.begin());
    if (spans_) {
      span().isCanonical &= member < memberCount && member == nextMember_++;
      keyEnd_ = stream_->Tell();
    }
    member_ = member;
    place_ = Place::member;
    return true;
  }

  bool EndObject(rapidjson::SizeType) {
    if (skippedDepth_ > 0) return endSkipped();
    place_ = inList_ ? Place::list : Place::end;
    if (seen_ != allMembers) return false;
    if (spans_) endSpan();
    return true;
  }

  bool StartArray() {
    if (place_ == Place::beforeList) {
      place_ = Place::list;
      return true;
    }
    if (place_ == Place::member && member_ >= typeArray && member_ < memberCount) {
      startColumn();
      return true;
    }
    return startSkipped();
  }

  bool EndArray(rapidjson::SizeType size) {
    if (skippedDepth_ > 0) return endSkipped();
    if (place_ == Place::list) {
      place_ = Place::end;
      return true;
    }
    longestColumn_ = std::max<std::size_t>(longestColumn_, size);
    return endMember();
  }

 private:
  enum class Place : std::uint8_t {
    beforeList,
    beforeRecord,
    list,
    record,  ///< between members
    member,  ///< after a member's name
    column,
    end
  };

  Recording& record() { return records_.back(); }
  RecordingSpan& span() { return spans_->back(); }

  // The parser tells of a brace while it still stands before it.
  void beginSpan() {
    spans_->emplace_back().offset = stream_->Tell();
    span().isCanonical = true;
    nextMember_ = title;
  }

  // Between the name and the value there is nothing but a colon and blanks.
  void endTitle() {
    const char* const begin = stream_->begin_;
    const std::size_t end = stream_->Tell();
    const std::size_t start = std::string_view(begin, end).find('"', keyEnd_);
    span().titleOffset = start - span().offset;
    span().titleLength = end - start;
  }

  // A blank outside of the title, or an escaped one in it, is not how the encoder writes.
  void endSpan() {
    RecordingSpan& ended = span();
    ended.length = stream_->Tell() + 1 - ended.offset;
    ended.title = record().title;
    ended.uniqueID = record().uniqueID;
    const std::string_view text(stream_->begin_ + ended.offset, ended.length);
    const auto isBlank = [](char c) { return static_cast<unsigned char>(c) <= ' '; };
    const auto blanks = std::count_if(text.begin(), text.end(), isBlank);
    const auto inTitle = text.substr(ended.titleOffset, ended.titleLength);
    ended.isCanonical &= blanks == std::count(inTitle.begin(), inTitle.end(), ' ');
  }

  bool endMember() {
    if (member_ < memberCount) seen_ |= 1U << member_;
    place_ = Place::record;
    return true;
  }

  /// A scalar is welcome inside of, or as the whole of, a member that nobody knows.
  bool isSkipping() {
    if (skippedDepth_ > 0) return true;
    return place_ == Place::member && member_ == memberCount && endMember();
  }

  bool startSkipped() {
    if (skippedDepth_ == 0 && !(place_ == Place::member && member_ == memberCount)) return false;
    ++skippedDepth_;
    return true;
  }

  bool endSkipped() { return --skippedDepth_ > 0 || endMember(); }

  void startColumn() {
    place_ = Place::column;
    floats_ = nullptr;
    texts_ = nullptr;
    Recording& target = record();
    switch (member_) {
      case typeArray:
        return start(texts_ = &target.typeArray);
      case timestampArray:
        return start(floats_ = &target.timestampArray);
      case locXArray:
        return start(floats_ = &target.locXArray);
      case locYArray:
        return start(floats_ = &target.locYArray);
      case scrollingDeltaXArray:
        return start(floats_ = &target.scrollingDeltaXArray);
      case scrollingDeltaYArray:
        return start(floats_ = &target.scrollingDeltaYArray);
      case charArray:
        return start(&target.charArray);
      case modifierArray:
        return start(texts_ = &target.modifierArray);
      default:
        return start(&target.clickCountArray);
    }
  }

  template <typename T>
  void start(std::vector<T>* column) {
    column->clear();
    // The other columns of a sound record have as many rows as the first.
    column->reserve(longestColumn_);
  }

  std::vector<Recording> records_;
  std::vector<RecordingSpan>* spans_ = nullptr;      // where the index goes, if one is wanted
  const rapidjson::MemoryStream* stream_ = nullptr;  // set with `spans_`, as what follows
  std::size_t keyEnd_ = 0;                           // behind the latest name
  std::size_t nextMember_ = title;                   // the one that the encoder would write next
  Place place_;
  bool inList_ = false;
  std::size_t member_ = memberCount;  // the one whose value is being read; memberCount: unknown
  unsigned seen_ = 0;                 // a bit for each member of the record
  std::size_t skippedDepth_ = 0;      // open arrays and objects of an unknown member
  std::size_t longestColumn_ = 0;     // of the record that is being read
  std::vector<double>* floats_ = nullptr;      // the column being read, if it holds floats,
  std::vector<std::string>* texts_ = nullptr;  // or texts
};

/// False when `text` is not valid. Iterative: the depth of the nesting takes no stack. Numbers stay
/// text until their column says what they are to be.
bool parse(std::string_view text, Decoder& decoder, std::vector<RecordingSpan>* spans = nullptr) {
  constexpr unsigned flags = rapidjson::kParseIterativeFlag |
                             rapidjson::kParseValidateEncodingFlag |
                             rapidjson::kParseNumbersAsStringsFlag;
  rapidjson::MemoryStream stream(text.data(), text.size());
  rapidjson::Reader reader;
  if (spans) decoder.indexInto(spans, &stream);
  // The parser takes a zero byte for the end.
  const bool isValid = reader.Parse<flags>(stream, decoder) && stream.Tell() == text.size();
  decoder.indexInto(nullptr, nullptr);
  return isValid;
}

}  // namespace

std::optional<Recording> decodeRecording(std::string_view text) {
  Decoder decoder(Decoder::Root::record);
  if (!parse(text, decoder)) return std::nullopt;
  return std::move(decoder.records().front());
}

std::optional<std::vector<Recording>> decodeRecordings(std::string_view text) {
  Decoder decoder(Decoder::Root::list);
  if (!parse(text, decoder)) return std::nullopt;
  return std::move(decoder.records());
}

std::optional<std::vector<RecordingSpan>> indexRecordings(std::string_view text) {
  std::vector<RecordingSpan> spans;
  Decoder decoder(Decoder::Root::list);
  if (!parse(text, decoder, &spans)) return std::nullopt;
  return spans;
}

}  // namespace tapeloop
