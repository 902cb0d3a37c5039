#include "fuzz/plain_reading.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <map>
#include <string>
#include <utility>

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

namespace tapeloop::fuzz {
namespace {

constexpr std::ptrdiff_t memberCount = 11;
constexpr double lastExactInteger = 9007199254740992.0;

struct Value {
  enum class Kind : std::uint8_t { literal, number, text, array, object };
  Kind kind = Kind::literal;
  std::string text;  // of a number its digits
  std::vector<std::string> names;
  std::vector<Value> elements;
};

// Trees that are no deeper than this are enough: what is deeper can only be a member that nobody
// knows, and taking a tree down takes stack.
constexpr std::size_t keptDepth = 4;

class TreeBuilder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, TreeBuilder> {
 public:
  bool Default() { return add({}); }
  bool RawNumber(const char* digits, rapidjson::SizeType size, bool) {
    return add({Value::Kind::number, std::string(digits, size), {}, {}});
  }
  bool String(const char* text, rapidjson::SizeType size, bool) {
    return add({Value::Kind::text, std::string(text, size), {}, {}});
  }
  bool Key(const char* text, rapidjson::SizeType size, bool) {
    if (depth_ <= keptDepth) open_.back()->names.emplace_back(text, size);
    return true;
  }
  bool StartObject() { return begin(Value::Kind::object); }
  bool StartArray() { return begin(Value::Kind::array); }
  bool EndObject(rapidjson::SizeType) { return end(); }
  bool EndArray(rapidjson::SizeType) { return end(); }

  Value root{Value::Kind::array, {}, {}, {}};

 private:
  bool add(Value value) {
    if (depth_ <= keptDepth) open_.back()->elements.push_back(std::move(value));
    return true;
  }
  bool begin(Value::Kind kind) {
    add({kind, {}, {}, {}});
    // Nothing is added to an outer one before this is closed: the address holds.
    if (++depth_ <= keptDepth) open_.push_back(&open_.back()->elements.back());
    return true;
  }
  bool end() {
    if (depth_-- <= keptDepth) open_.pop_back();
    return true;
  }

  std::vector<Value*> open_{&root};
  std::size_t depth_ = 0;
};

/// Nothing unless all of `text` is JSON.
std::optional<Value> readTree(std::string_view text) {
  constexpr unsigned flags = rapidjson::kParseIterativeFlag |
                             rapidjson::kParseValidateEncodingFlag |
                             rapidjson::kParseNumbersAsStringsFlag;
  rapidjson::MemoryStream stream(text.data(), text.size());
  rapidjson::Reader reader;
  TreeBuilder builder;
  if (!reader.Parse<flags>(stream, builder) || stream.Tell() != text.size()) return std::nullopt;
  return std::move(builder.root.elements.front());
}

bool holdsHalfAPair(const Value& value) {
  for (std::size_t i = 0; i + 1 < value.text.size(); ++i) {
    if (value.text[i] == '\xED' && static_cast<unsigned char>(value.text[i + 1]) >= 0xA0) {
      return true;
    }
  }
  return std::any_of(value.elements.begin(), value.elements.end(), holdsHalfAPair);
}

bool readElement(const Value& value, std::string& text) {
  text = value.text;
  return value.kind == Value::Kind::text;
}

bool readElement(const Value& value, double& number) {
  number = std::strtod(value.text.c_str(), nullptr);
  return value.kind == Value::Kind::number && std::isfinite(number);
}

bool readElement(const Value& value, std::int64_t& number) {
  if (value.kind != Value::Kind::number) return false;
  if (value.text.find_first_of(".eE") == std::string::npos) {
    errno = 0;
    number = std::strtoll(value.text.c_str(), nullptr, 10);
    return errno == 0;
  }
  errno = 0;
  const double real = std::strtod(value.text.c_str(), nullptr);
  if (errno != 0) return false;
  if (std::abs(real) > lastExactInteger || std::floor(real) != real) return false;
  number = static_cast<std::int64_t>(real);
  return true;
}

bool readElement(const Value& value, std::uint16_t& number) {
  std::int64_t wide = 0;
  if (!readElement(value, wide)) return false;
  number = static_cast<std::uint16_t>(wide);
  return wide >= 0 && wide <= std::numeric_limits<std::uint16_t>::max();
}

template <typename T>
bool readColumn(const Value& value, std::vector<T>& column) {
  column.clear();
  for (const Value& element : value.elements) {
    column.emplace_back();
    if (!readElement(element, column.back())) return false;
  }
  return value.kind == Value::Kind::array;
}

bool readMember(const std::string& name, const Value& value, Recording& r) {
  if (name == "title") return readElement(value, r.title);
  if (name == "uniqueID") {
    const auto uuid = Uuid::parse(value.text);
    r.uniqueID = uuid.value_or(Uuid{});
    return value.kind == Value::Kind::text && uuid;
  }
  if (name == "typeArray") return readColumn(value, r.typeArray);
  if (name == "timestampArray") return readColumn(value, r.timestampArray);
  if (name == "locXArray") return readColumn(value, r.locXArray);
  if (name == "locYArray") return readColumn(value, r.locYArray);
  if (name == "scrollingDeltaXArray") return readColumn(value, r.scrollingDeltaXArray);
  if (name == "scrollingDeltaYArray") return readColumn(value, r.scrollingDeltaYArray);
  if (name == "charArray") return readColumn(value, r.charArray);
  if (name == "modifierArray") return readColumn(value, r.modifierArray);
  if (name == "clickCountArray") return readColumn(value, r.clickCountArray);
  return true;
}

bool isKnown(const std::string& name) {
  Recording none;
  return !readMember(name, Value{}, none);
}

std::optional<Recording> readRecord(const Value& object) {
  if (object.kind != Value::Kind::object) return std::nullopt;
  Recording recording;
  std::vector<std::string> known;
  for (std::size_t i = 0; i < object.names.size(); ++i) {
    if (!readMember(object.names[i], object.elements[i], recording)) return std::nullopt;
    if (isKnown(object.names[i])) known.push_back(object.names[i]);
  }
  std::sort(known.begin(), known.end());
  if (std::unique(known.begin(), known.end()) - known.begin() != memberCount) return std::nullopt;
  return recording;
}

bool isSame(const std::vector<double>& a, const std::vector<double>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](double x, double y) {
    return std::bit_cast<std::uint64_t>(x) == std::bit_cast<std::uint64_t>(y);
  });
}

}  // namespace

std::optional<Recording> readRecording(std::string_view text) {
  const auto tree = readTree(text);
  if (!tree || holdsHalfAPair(*tree)) return std::nullopt;
  return readRecord(*tree);
}

std::optional<std::vector<Recording>> readRecordings(std::string_view text) {
  const auto tree = readTree(text);
  if (!tree || holdsHalfAPair(*tree) || tree->kind != Value::Kind::array) return std::nullopt;
  std::vector<Recording> list;
  for (const Value& element : tree->elements) {
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
  const auto tree = readTree(recordText);
  return tree && std::ssize(tree->names) == memberCount;
}

bool isSame(const Recording& a, const Recording& b) {
  return a == b && isSame(a.timestampArray, b.timestampArray) && isSame(a.locXArray, b.locXArray) &&
         isSame(a.locYArray, b.locYArray) &&
         isSame(a.scrollingDeltaXArray, b.scrollingDeltaXArray) &&
         isSame(a.scrollingDeltaYArray, b.scrollingDeltaYArray);
}

bool isSame(const std::vector<Recording>& a, const std::vector<Recording>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const Recording& x, const Recording& y) { return isSame(x, y); });
}

}  // namespace tapeloop::fuzz
