#include "fuzz/plain_reading.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <regex>
#include <set>
#include <string>
#include <utility>

#include <rapidjson/document.h>

namespace tapeloop::fuzz {
namespace {

using rapidjson::Document;
using rapidjson::SizeType;
using rapidjson::Value;

constexpr std::size_t memberCount = std::tuple_size_v<decltype(recordingMembers)>;
// Put before the text of a number, and before every other text.
constexpr char numberMark = 'n';
constexpr char textMark = 't';

bool isNumber(std::string_view text) {
  static const std::regex number(R"(-?(0|[1-9][0-9]*)(\.[0-9]+)?([eE][+-]?[0-9]+)?)");
  return std::regex_match(text.begin(), text.end(), number);
}

/// The same JSON with every number made a text, because RapidJSON refuses numbers beyond doubles,
/// which unknown members may have. Nothing if a number is invalid.
std::optional<std::string> withNumbersAsTexts(std::string_view json) {
  std::string marked;
  while (!json.empty()) {
    const std::size_t number = std::min(json.find_first_not_of("+-.0123456789eE"), json.size());
    std::size_t length = 1;
    if (json.front() == '"') {
      while (length < json.size() && json[length] != '"') length += json[length] == '\\' ? 2 : 1;
      length = std::min(length + 1, json.size());
      marked.append({'"', textMark}).append(json.substr(1, length - 1));
    } else if (number > 0 && json.front() != 'e') {  // which ends true and false
      if (!isNumber(json.substr(0, number))) return std::nullopt;
      length = number;
      marked.append({'"', numberMark}).append(json.substr(0, length)).append("\"");
    } else {
      marked += json.front();
    }
    json.remove_prefix(length);
  }
  return marked;
}

/// RapidJSON accepts a low surrogate without a high one before it.
bool holdsSurrogate(std::string_view text) {
  for (std::size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] == '\xED' && static_cast<unsigned char>(text[i + 1]) >= 0xA0) return true;
  }
  return false;
}

/// Builds a tree in which numbers are still text.
class TreeBuilder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, TreeBuilder> {
 public:
  explicit TreeBuilder(Document& tree) : tree_(tree) {}
  bool Default() { return tree_.Null(); }
  bool String(const char* text, SizeType size, bool) {
    return !holdsSurrogate({text, size}) && tree_.String(text, size, true);
  }
  bool Key(const char* text, SizeType size, bool) {
    if (holdsSurrogate({text, size}) || text[0] != textMark) return false;
    return tree_.Key(text, size, true);
  }
  bool StartObject() { return tree_.StartObject(); }
  bool EndObject(SizeType members) { return tree_.EndObject(members); }
  bool StartArray() { return tree_.StartArray(); }
  bool EndArray(SizeType elements) { return tree_.EndArray(elements); }

 private:
  Document& tree_;
};

/// Null unless all of `text` is JSON.
Document readTree(std::string_view text) {
  constexpr unsigned flags = rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;
  const auto marked = withNumbersAsTexts(text);
  auto parse = [&marked](Document& tree) {
    if (!marked) return false;
    rapidjson::MemoryStream stream(marked->data(), marked->size());
    rapidjson::Reader reader;
    TreeBuilder builder(tree);
    return reader.Parse<flags>(stream, builder) && stream.Tell() == marked->size();
  };
  Document tree;
  tree.Populate(parse);
  return tree;
}

/// The text without its mark.
std::string_view textOf(const Value& value) {
  return {value.GetString() + 1, value.GetStringLength() - 1};
}

bool isMarked(const Value& value, char mark) {
  return value.IsString() && value.GetString()[0] == mark;
}

bool read(const Value& value, std::string& text) {
  if (!isMarked(value, textMark)) return false;
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
  if (!isMarked(value, numberMark)) return false;
  number = std::strtod(value.GetString() + 1, nullptr);
  return std::isfinite(number);
}

/// Writes the digits out with zeros on both sides and moves the decimal point.
bool read(const Value& value, std::int64_t& number) {
  if (!isMarked(value, numberMark)) return false;
  const std::string text(textOf(value));
  const std::size_t end = std::min(text.find_first_of("eE"), text.size());
  const std::size_t begin = text.front() == '-' ? 1 : 0;
  const std::size_t point = std::min(text.find('.'), end);
  // Moved further than this, the number is 0 or has more digits than any 64-bit integer.
  const auto reach = static_cast<long>(text.size()) + std::numeric_limits<std::int64_t>::digits10;
  const long written = end < text.size() ? std::strtol(text.c_str() + end + 1, nullptr, 10) : 0;
  const std::string zeros(static_cast<std::size_t>(reach) + 1, '0');
  std::string whole = zeros + text.substr(begin, point - begin);
  const std::size_t place =
      whole.size() + static_cast<std::size_t>(std::clamp(written, -reach, reach));
  whole += text.substr(std::min(point + 1, end), end - std::min(point + 1, end)) + zeros;
  if (whole.find_first_not_of('0', place) != std::string::npos) return false;
  errno = 0;
  number = std::strtoll((text.substr(0, begin) + whole.substr(0, place)).c_str(), nullptr, 10);
  return errno == 0;
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
  const auto bits = [](double value) { return std::bit_cast<std::uint64_t>(value); };
  const auto isSameIn = [&](const auto& member) {
    const auto& x = a.*member.place;
    const auto& y = b.*member.place;
    if constexpr (std::is_same_v<decltype(x), const std::vector<double>&>) {
      return std::ranges::equal(x, y, {}, bits, bits);
    } else {
      return x == y;
    }
  };
  return std::apply([&](const auto&... member) { return (isSameIn(member) && ...); },
                    recordingMembers);
}

}  // namespace tapeloop::fuzz
