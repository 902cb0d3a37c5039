#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <utility>

#include "capture/json_reader.h"
#include "capture/recording_json.h"

namespace tapeloop {
namespace {

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

/// Takes what the reader finds; each answer says whether the text is still valid. What an unknown
/// member holds is passed over, whatever it is.
class Decoder {
 public:
  enum class Root : std::uint8_t { record, list };
  explicit Decoder(Root root)
      : place_(root == Root::list ? Place::beforeList : Place::beforeRecord) {}

  [[nodiscard]] std::vector<Recording>& records() { return records_; }

  /// Only the places of the records are wanted: they are read one after the other into the same
  /// memory. `scanner` goes through `text`; null for both pointers when it has.
  void indexInto(std::vector<RecordingSpan>* spans, std::string_view text,
                 const JsonScanner* scanner) {
    spans_ = spans;
    indexed_ = text;
    scanner_ = scanner;
  }

  // No column holds any.
  bool word() { return isSkipping(); }

  bool number(std::string_view written) {
    if (place_ != Place::column) return isSkipping();
    if (floats_) {
      const auto value = floatOf(written);
      if (value) floats_->push_back(*value);
      return value.has_value();
    }
    if (texts_) return false;
    const auto value = integerOf(written);
    if (!value) return false;
    if (member_ == clickCountArray) {
      record().clickCountArray.push_back(*value);
      return true;
    }
    if (!std::in_range<std::uint16_t>(*value)) return false;
    record().charArray.push_back(static_cast<std::uint16_t>(*value));
    return true;
  }

  bool text(std::string_view value) {
    if (place_ == Place::column && texts_) {
      texts_->emplace_back(value);
      return true;
    }
    if (place_ != Place::member) return isSkipping();
    if (member_ == memberCount) return endMember();
    if (member_ == title) {
      record().title = value;
      if (spans_) endTitle();
      return endMember();
    }
    const auto uuid = member_ == uniqueID ? Uuid::parse(value) : std::nullopt;
    if (!uuid) return false;
    record().uniqueID = *uuid;
    if (spans_) span().isCanonical &= value == uuid->text();
    return endMember();
  }

  bool beginObject() {
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

  bool key(std::string_view name) {
    if (skippedDepth_ > 0) return true;
    const auto known = std::ranges::find(memberNames, name);
    const auto member = static_cast<std::size_t>(known - memberNames.begin());
    if (spans_) {
      span().isCanonical &= member < memberCount && member == nextMember_++;
      keyEnd_ = scanner_->position();
    }
    member_ = member;
    place_ = Place::member;
    return true;
  }

  bool endObject() {
    if (skippedDepth_ > 0) return endSkipped();
    place_ = inList_ ? Place::list : Place::end;
    if (seen_ != allMembers) return false;
    if (spans_) endSpan();
    return true;
  }

  bool beginArray() {
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

  bool endArray() {
    if (skippedDepth_ > 0) return endSkipped();
    if (place_ == Place::list) {
      place_ = Place::end;
      return true;
    }
    longestColumn_ = std::max(longestColumn_, columnSize());
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

  void beginSpan() {
    spans_->emplace_back().offset = scanner_->position();
    span().isCanonical = true;
    nextMember_ = title;
  }

  // Between the name and the value there is nothing but a colon and blanks.
  void endTitle() {
    const std::size_t end = scanner_->position();
    const std::size_t start = indexed_.find('"', keyEnd_);
    span().titleOffset = start - span().offset;
    span().titleLength = end - start;
  }

  // A blank outside of the title, or an escaped one in it, is not how the encoder writes.
  void endSpan() {
    RecordingSpan& ended = span();
    ended.length = scanner_->position() + 1 - ended.offset;
    ended.title = record().title;
    ended.uniqueID = record().uniqueID;
    const std::string_view written = indexed_.substr(ended.offset, ended.length);
    const auto isBlank = [](char c) { return static_cast<unsigned char>(c) <= ' '; };
    const auto blanks = std::count_if(written.begin(), written.end(), isBlank);
    const auto inTitle = written.substr(ended.titleOffset, ended.titleLength);
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

  [[nodiscard]] std::size_t columnSize() {
    if (floats_) return floats_->size();
    if (texts_) return texts_->size();
    return member_ == charArray ? record().charArray.size() : record().clickCountArray.size();
  }

  template <typename T>
  void start(std::vector<T>* column) {
    column->clear();
    // The other columns of a sound record have as many rows as the first.
    column->reserve(longestColumn_);
  }

  std::vector<Recording> records_;
  std::vector<RecordingSpan>* spans_ = nullptr;  // where the index goes, if one is wanted
  const JsonScanner* scanner_ = nullptr;         // set with `spans_`, as what follows
  std::string_view indexed_;
  std::size_t keyEnd_ = 0;          // behind the latest name
  std::size_t nextMember_ = title;  // the one that the encoder would write next
  Place place_;
  bool inList_ = false;
  std::size_t member_ = memberCount;  // the one whose value is being read; memberCount: unknown
  unsigned seen_ = 0;                 // a bit for each member of the record
  std::size_t skippedDepth_ = 0;      // open arrays and objects of an unknown member
  std::size_t longestColumn_ = 0;     // of the record that is being read
  std::vector<double>* floats_ = nullptr;      // the column being read, if it holds floats,
  std::vector<std::string>* texts_ = nullptr;  // or texts
};

/// False when `text` is not valid.
bool parse(std::string_view text, Decoder& decoder, std::vector<RecordingSpan>* spans = nullptr) {
  JsonScanner scanner(text);
  if (spans) decoder.indexInto(spans, text, &scanner);
  const bool isValid = JsonReader(scanner, decoder).read();
  decoder.indexInto(nullptr, {}, nullptr);
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
