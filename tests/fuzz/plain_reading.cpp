#include "fuzz/plain_reading.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>
#include <utility>

#include <rapidjson/document.h>

namespace tapeloop::fuzz {
namespace {

using rapidjson::Document;
using rapidjson::SizeType;
using rapidjson::Value;

constexpr std::size_t memberCount = 11;
constexpr double lastExactInteger = 9007199254740992.0;
// Stands before the digits of a number. No text begins with it, since it is not UTF-8.
constexpr char numberMark = '\xFF';

/// Builds a tree whose numbers are still text.
class TreeBuilder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, TreeBuilder> {
 public:
  explicit TreeBuilder(Document& tree) : tree_(tree) {}
  bool Default() { return tree_.Null(); }
  bool RawNumber(const char* digits, SizeType size, bool) {
    const std::string marked = numberMark + std::string(digits, size);
    return tree_.String(marked.data(), size + 1, true);
  }
  bool String(const char* text, SizeType size, bool) {
    // Half a pair of surrogates, which the parser lets through if it is the second one.
    for (SizeType i = 0; i + 1 < size; ++i) {
      if (text[i] == '\xED' && static_cast<unsigned char>(text[i + 1]) >= 0xA0) return false;
    }
    return tree_.String(text, size, true);
  }
  bool Key(const char* text, SizeType size, bool) { return tree_.Key(text, size, true); }
  bool StartObject() { return tree_.StartObject(); }
  bool EndObject(SizeType members) { return tree_.EndObject(members); }
  bool StartArray() { return tree_.StartArray(); }
  bool EndArray(SizeType elements) { return tree_.EndArray(elements); }

 private:
  Document& tree_;
};

/// Null unless all of `text` is JSON.
Document readTree(std::string_view text) {
  constexpr unsigned flags = rapidjson::kParseIterativeFlag |
                             rapidjson::kParseValidateEncodingFlag |
                             rapidjson::kParseNumbersAsStringsFlag;
  auto parse = [text](Document& tree) {
    rapidjson::MemoryStream stream(text.data(), text.size());
    rapidjson::Reader reader;
    TreeBuilder builder(tree);
    return reader.Parse<flags>(stream, builder) && stream.Tell() == text.size();
  };
  Document tree;
  tree.Populate(parse);
  return tree;
}

std::string_view textOf(const Value& value) {
  return {value.GetString(), value.GetStringLength()};
}

bool isNumber(const Value& value) {
  return value.IsString() && textOf(value).starts_with(numberMark);
}

bool read(const Value& value, std::string& text) {
  if (!value.IsString() || isNumber(value)) return false;
  text = textOf(value);
  return true;
}

bool read(const Value& value, Uuid& identity) {
  std::string text;
  const auto uuid = read(value, text) ? Uuid::parse(text) : std::nullopt;
  identity = uuid.value_or(Uuid{});
  return uuid.has_value();
}

bool read(const Value& value, double& number) {
  if (!isNumber(value)) return false;
  number = std::strtod(value.GetString() + 1, nullptr);
  return std::isfinite(number);
}

bool read(const Value& value, std::int64_t& number) {
  if (!isNumber(value)) return false;
  const char* digits = value.GetString() + 1;
  errno = 0;
  if (textOf(value).find_first_of(".eE") == std::string_view::npos) {
    number = std::strtoll(digits, nullptr, 10);
    return errno == 0;
  }
  const double real = std::strtod(digits, nullptr);
  if (errno != 0 || std::abs(real) > lastExactInteger || std::floor(real) != real) return false;
  number = static_cast<std::int64_t>(real);
  return true;
}

bool read(const Value& value, std::uint16_t& number) {
  std::int64_t wide = 0;
  if (!read(value, wide)) return false;
  number = static_cast<std::uint16_t>(wide);
  return std::in_range<std::uint16_t>(wide);
}

template <typename T>
bool read(const Value& value, std::vector<T>& column) {
  column.clear();
  if (!value.IsArray()) return false;
  return std::ranges::all_of(value.GetArray(), [&column](const Value& element) {
    return read(element, column.emplace_back());
  });
}

/// Calls `visit` with the name and the place of each member.
template <typename Visit>
void forEachMember(Recording& r, const Visit& visit) {
  visit("title", r.title);
  visit("uniqueID", r.uniqueID);
  visit("typeArray", r.typeArray);
  visit("timestampArray", r.timestampArray);
  visit("locXArray", r.locXArray);
  visit("locYArray", r.locYArray);
  visit("scrollingDeltaXArray", r.scrollingDeltaXArray);
  visit("scrollingDeltaYArray", r.scrollingDeltaYArray);
  visit("charArray", r.charArray);
  visit("modifierArray", r.modifierArray);
  visit("clickCountArray", r.clickCountArray);
}

std::optional<Recording> readRecord(const Value& object) {
  if (!object.IsObject()) return std::nullopt;
  Recording recording;
  std::set<std::string_view> known;
  bool isValid = true;
  for (const auto& member : object.GetObject()) {
    forEachMember(recording, [&](std::string_view name, auto& place) {
      if (name != textOf(member.name)) return;
      known.insert(name);
      isValid = read(member.value, place) && isValid;
    });
  }
  if (!isValid || known.size() != memberCount) return std::nullopt;
  return recording;
}

bool isSame(const std::vector<double>& a, const std::vector<double>& b) {
  const auto bits = [](double value) { return std::bit_cast<std::uint64_t>(value); };
  return std::ranges::equal(a, b, {}, bits, bits);
}

}  // namespace

std::optional<Recording> readRecording(std::string_view text) {
  return readRecord(readTree(text));
}

std::optional<std::vector<Recording>> readRecordings(std::string_view text) {
  const Document tree = readTree(text);
  if (!tree.IsArray()) return std::nullopt;
  std::vector<Recording> list;
  for (const Value& element : tree.GetArray()) {
    auto recording = readRecord(element);
    if (!recording) return std::nullopt;
    list.push_back(std::move(*recording));
  }
  return list;
}

bool isCompact(std::string_view recordText) {
  bool isInText = false;
  for (std::size_t i = 0; i < recordText.size(); ++i) {
    const char c = recordText[i];
    if (c == '"') isInText = !isInText;
    if (c == '\\') ++i;
    if (!isInText && static_cast<unsigned char>(c) <= ' ') return false;
  }
  const Document tree = readTree(recordText);
  return tree.IsObject() && tree.MemberCount() == memberCount;
}

bool isSame(const Recording& a, const Recording& b) {
  return a == b && isSame(a.timestampArray, b.timestampArray) && isSame(a.locXArray, b.locXArray) &&
         isSame(a.locYArray, b.locYArray) &&
         isSame(a.scrollingDeltaXArray, b.scrollingDeltaXArray) &&
         isSame(a.scrollingDeltaYArray, b.scrollingDeltaYArray);
}

bool isSame(const std::vector<Recording>& a, const std::vector<Recording>& b) {
  return std::ranges::equal(a, b,
                            [](const Recording& x, const Recording& y) { return isSame(x, y); });
}

}  // namespace tapeloop::fuzz
