#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>

#include "capture/json_reader.h"
#include "capture/recording_json.h"

namespace tapeloop {
namespace {

constexpr std::size_t memberCount = std::tuple_size_v<decltype(recordingMembers)>;
constexpr unsigned allMembers = (1U << memberCount) - 1;

/// The member that is being read. Empty if its name is unknown.
using Target =
    std::variant<std::monostate, std::string*, Uuid*, std::vector<std::string>*,
                 std::vector<double>*, std::vector<std::uint16_t>*, std::vector<std::int64_t>*>;

// Overloads for the members that can have such a value, and one for all others, which returns
// false.

template <typename T>
bool appendNumber(std::vector<T>* column, std::string_view written) {
  if constexpr (std::same_as<T, double>) {
    const auto value = floatOf(written);
    if (value) column->push_back(*value);
    return value.has_value();
  } else if constexpr (std::integral<T>) {
    const auto value = integerOf(written);
    if (!value || !std::in_range<T>(*value)) return false;
    column->push_back(static_cast<T>(*value));
    return true;
  } else {
    return false;
  }
}
bool appendNumber(auto, std::string_view) {
  return false;
}

bool setText(std::string* member, std::string_view value) {
  *member = value;
  return true;
}
bool setText(Uuid* member, std::string_view value) {
  const auto uuid = Uuid::parse(value);
  if (uuid) *member = *uuid;
  return uuid.has_value();
}
bool setText(auto, std::string_view) {
  return false;
}

template <typename T>
bool startColumn(std::vector<T>* column, std::size_t expectedSize) {
  column->clear();
  column->reserve(expectedSize);
  return true;
}
bool startColumn(auto, std::size_t) {
  return false;
}

template <typename T>
std::size_t columnSize(const std::vector<T>* column) {
  return column->size();
}
std::size_t columnSize(auto) {
  return 0;
}

/// The handler of a `JsonReader`: reads one record, or goes through a list and collects the places
/// of its records. The value of a member with an unknown name is skipped.
class Decoder {
 public:
  /// For a single record.
  Decoder() = default;
  /// For a list. Only the places are kept: all records are read into the same memory, to validate
  /// them. `scanner` is the reader's, over `text`.
  Decoder(std::vector<RecordingSpan>& spans, std::string_view text, const JsonScanner& scanner)
      : spans_(&spans), scanner_(&scanner), indexed_(text), place_(Place::beforeList) {}

  [[nodiscard]] Recording& record() { return record_; }

  // No member holds `true`, `false` or `null`.
  bool word() { return skipScalar(); }

  bool number(std::string_view written) {
    if (place_ != Place::column) return skipScalar();
    return std::visit([&](auto column) { return appendNumber(column, written); }, target_);
  }

  bool text(std::string_view value) {
    if (place_ == Place::column) {
      auto* const texts = std::get_if<std::vector<std::string>*>(&target_);
      if (texts != nullptr) (*texts)->emplace_back(value);
      return texts != nullptr;
    }
    if (place_ != Place::member || isUnknown()) return skipScalar();
    if (!std::visit([&](auto member) { return setText(member, value); }, target_)) return false;
    if (spans_) endText(value);
    return endMember();
  }

  bool beginObject() {
    if (place_ != Place::beforeRecord && place_ != Place::list) return beginSkipped();
    if (spans_) beginSpan();
    seen_ = 0;
    longestColumn_ = 0;
    place_ = Place::record;
    return true;
  }

  bool key(std::string_view name) {
    if (skippedDepth_ > 0) return true;
    target_ = {};
    std::size_t index = 0;
    forEachMember(record_, [&](std::string_view known, auto& member) {
      if (known == name) {
        target_ = &member;
        member_ = index;
      }
      ++index;
    });
    if (spans_) {
      span().isCanonical &= !isUnknown() && member_ == nextMember_++;
      keyEnd_ = scanner_->position();
    }
    place_ = Place::member;
    return true;
  }

  bool endObject() {
    if (skippedDepth_ > 0) return endSkipped();
    place_ = spans_ ? Place::list : Place::end;
    if (seen_ != allMembers) return false;
    if (spans_) endSpan();
    return true;
  }

  bool beginArray() {
    if (place_ == Place::beforeList) {
      place_ = Place::list;
      return true;
    }
    if (place_ != Place::member || isUnknown()) return beginSkipped();
    place_ = Place::column;
    // Normally all columns of a record have the same length.
    return std::visit([this](auto column) { return startColumn(column, longestColumn_); }, target_);
  }

  bool endArray() {
    if (skippedDepth_ > 0) return endSkipped();
    if (place_ == Place::list) {
      place_ = Place::end;
      return true;
    }
    const std::size_t size = std::visit([](auto column) { return columnSize(column); }, target_);
    longestColumn_ = std::max(longestColumn_, size);
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

  RecordingSpan& span() { return spans_->back(); }

  void beginSpan() {
    spans_->emplace_back().offset = scanner_->position();
    span().isCanonical = true;
    nextMember_ = 0;
  }

  void endText(std::string_view value) {
    if (std::holds_alternative<Uuid*>(target_)) {
      span().isCanonical &= value == record_.uniqueID.text();
      return;
    }
    // Only a colon and blanks can be between the name and the value.
    const std::size_t end = scanner_->position();
    const std::size_t start = indexed_.find('"', keyEnd_);
    span().titleOffset = start - span().offset;
    span().titleLength = end - start;
  }

  // The encoder writes blanks only inside the title, and never as an escape.
  void endSpan() {
    RecordingSpan& ended = span();
    ended.length = scanner_->position() + 1 - ended.offset;
    ended.title = record_.title;
    ended.uniqueID = record_.uniqueID;
    const std::string_view written = indexed_.substr(ended.offset, ended.length);
    const auto isBlank = [](char c) { return static_cast<unsigned char>(c) <= ' '; };
    const auto blanks = std::count_if(written.begin(), written.end(), isBlank);
    const auto inTitle = written.substr(ended.titleOffset, ended.titleLength);
    ended.isCanonical &= blanks == std::count(inTitle.begin(), inTitle.end(), ' ');
  }

  [[nodiscard]] bool isUnknown() const { return std::holds_alternative<std::monostate>(target_); }

  bool endMember() {
    if (!isUnknown()) seen_ |= 1U << member_;
    place_ = Place::record;
    return true;
  }

  /// Skipped are the value of a member with an unknown name and everything inside of it.
  bool skipScalar() {
    if (skippedDepth_ > 0) return true;
    return place_ == Place::member && isUnknown() && endMember();
  }

  bool beginSkipped() {
    if (skippedDepth_ == 0 && !(place_ == Place::member && isUnknown())) return false;
    ++skippedDepth_;
    return true;
  }

  bool endSkipped() { return --skippedDepth_ > 0 || endMember(); }

  Recording record_;
  std::vector<RecordingSpan>* spans_ = nullptr;  // null for a single record
  const JsonScanner* scanner_ = nullptr;         // set with `spans_`, as the next three
  std::string_view indexed_;
  std::size_t keyEnd_ = 0;      // end of the latest name
  std::size_t nextMember_ = 0;  // index of the member that the encoder would write next
  Place place_ = Place::beforeRecord;
  Target target_;
  std::size_t member_ = 0;         // index of the member that `target_` is
  unsigned seen_ = 0;              // a bit for each member that was read
  std::size_t skippedDepth_ = 0;   // open arrays and objects of an unknown member
  std::size_t longestColumn_ = 0;  // rows, in this record
};

}  // namespace

std::optional<Recording> decodeRecording(std::string_view text) {
  JsonScanner scanner(text);
  Decoder decoder;
  if (!JsonReader(scanner, decoder).read()) return std::nullopt;
  return std::move(decoder.record());
}

std::optional<std::vector<RecordingSpan>> indexRecordings(std::string_view text) {
  std::vector<RecordingSpan> spans;
  JsonScanner scanner(text);
  Decoder decoder(spans, text, scanner);
  if (!JsonReader(scanner, decoder).read()) return std::nullopt;
  return spans;
}

}  // namespace tapeloop
