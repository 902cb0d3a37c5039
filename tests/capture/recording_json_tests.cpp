#include <cmath>
#include <limits>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "capture/recording_json.h"
#include "support/recording_lists.h"

namespace tapeloop {
namespace {

using ::testing::ElementsAre;
using testing::listText;
using testing::recordingsIn;
using namespace std::string_literals;

Recording sample() {
  Recording recording;
  recording.title = "New Recording";
  recording.uniqueID = *Uuid::parse("0F9E8D7C-6B5A-4321-8FED-CBA987654321");
  recording.append({.type = EventType::keyDown,
                    .keyCode = 65535,
                    .timestamp = 0.1,
                    .locationInWindow = {1920, -0.5},
                    .modifierFlags = modifier_flag::shift});
  recording.append({.type = EventType::leftMouseUp,
                    .timestamp = 1e300,
                    .locationInWindow = {},
                    .clickCount = 2});
  return recording;
}

const std::string sampleText =
    R"({"title":"New Recording","uniqueID":"0F9E8D7C-6B5A-4321-8FED-CBA987654321",)"
    R"("typeArray":[".keyDown",".leftMouseUp"],"timestampArray":[0.1,1e+300],)"
    R"("locXArray":[1920,0],"locYArray":[-0.5,0],)"
    R"("scrollingDeltaXArray":[0,0],"scrollingDeltaYArray":[0,0],)"
    R"("charArray":[65535,0],"modifierArray":[".shift",""],"clickCountArray":[0,2]})";

/// The sample with the first `part` of its text replaced.
std::string with(const std::string& part, const std::string& replacement) {
  std::string text = sampleText;
  const auto position = text.find(part);
  EXPECT_NE(position, std::string::npos) << part;
  return text.replace(position, part.size(), replacement);
}

Recording decoded(const std::string& text) {
  const auto recording = decodeRecording(text);
  EXPECT_TRUE(recording) << text;
  return recording.value_or(Recording{});
}

TEST(RecordingJson, IsCompactAndInOrder) {
  EXPECT_EQ(encodeRecording(sample()), sampleText);
  EXPECT_EQ(decoded(sampleText), sample());
  const std::vector<Recording> list = {sample(), makeRecording({})};
  EXPECT_EQ(recordingsIn(listText(list)), list);
}

TEST(RecordingJson, KeepsEveryBitOfAFloat) {
  using Limits = std::numeric_limits<double>;
  std::vector<double> values = {
      -0.0, 0.1 + 0.2,     999999999999999,      1e15,          1e15 + 1,      9007199254740993.0,
      1e22, 123456.789e-7, Limits::denorm_min(), Limits::min(), Limits::max(), Limits::lowest()};
  std::mt19937_64 random(1);
  while (values.size() < 20000) {
    const auto value = std::bit_cast<double>(random());
    if (std::isfinite(value)) values.push_back(value);
  }
  Recording recording = sample();
  recording.timestampArray = values;
  const auto text = encodeRecording(recording);
  ASSERT_TRUE(text);
  const auto bits = [](double value) { return std::bit_cast<std::uint64_t>(value); };
  EXPECT_TRUE(std::ranges::equal(decoded(*text).timestampArray, values, {}, bits, bits));
  EXPECT_TRUE(std::signbit(decoded(with("0.1", "-0")).timestampArray.front()));
  for (const char* zero : {"0e400", "0e-9999999999999999999"}) {
    EXPECT_EQ(decoded(with("0.1", zero)).timestampArray.front(), 0) << zero;
  }
  const std::string zeros(400, '0');
  EXPECT_EQ(decoded(with("0.1", "1" + zeros + "e-400")).timestampArray.front(), 1);
  // A number too small for a double is read as 0.
  const double tiny = decoded(with("0.1", "-1e-400")).timestampArray.front();
  EXPECT_TRUE(tiny == 0 && std::signbit(tiny));
}

TEST(RecordingJson, KeepsEveryTextThatIsUtf8) {
  Recording recording = sample();
  recording.title = "\0\x01\x1f\"\\/\b\n\r\t\x7f é 漢 \U0001F600 \u2028"s;
  recording.modifierArray = {"\xF4\x8F\xBF\xBF", "\xED\x9F\xBF\xEE\x80\x80", ""};
  const auto text = encodeRecording(recording);
  ASSERT_TRUE(text);
  EXPECT_EQ(decoded(*text), recording);
  EXPECT_EQ(decoded(with("New Recording", R"(\u0041\/\ud83d\ude00\u00e9)")).title, "A/😀é");
}

TEST(RecordingJson, IsNotWrittenWithWhatJsonCantHold) {
  for (const double value : {std::numeric_limits<double>::quiet_NaN(),
                             std::numeric_limits<double>::infinity(), -HUGE_VAL}) {
    Recording recording = sample();
    recording.locYArray.back() = value;
    EXPECT_FALSE(encodeRecording(recording));
  }
  // A stray continuation byte, cut-off and overlong sequences, a surrogate, beyond U+10FFFF.
  for (const char* broken : {"\x80", "\xC3", "\xE2\x82", "\xC0\xAF", "\xE0\x80\x80",
                             "\xF0\x80\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF"}) {
    Recording recording = sample();
    recording.title = broken;
    EXPECT_FALSE(encodeRecording(recording)) << ::testing::PrintToString(broken);
    EXPECT_FALSE(decodeRecording(with("New Recording", broken)))
        << ::testing::PrintToString(broken);
  }
}

TEST(RecordingJson, IgnoresTheOrderAndUnknownMembers) {
  const std::string title = R"("title":"New Recording",)";
  const std::string unknown =
      R"("other":{"title":7,"typeArray":[null,[{"a":[true]}]]},"n":null,"x":[],"y":-1.5e3,"z":"","huge":1e400,)";
  std::string text = with(title, unknown);
  text.insert(text.size() - 1, R"(,"title":"New Recording")");
  EXPECT_EQ(decoded(text), sample());
  EXPECT_EQ(decoded(" \t\r\n" + with(R"("locXArray":[)", R"("locXArray" : [ )") + " \n"), sample());
  EXPECT_EQ(decoded(with(title, R"("title":"old","charArray":[1,2,3],)" + title)), sample())
      << "of two with one name the last counts";
}

TEST(RecordingJson, NeedsEveryMemberInItsType) {
  const Recording recording = sample();
  forEachMember(recording, [](std::string_view name, const auto&) {
    const std::string quoted = "\"" + std::string(name) + "\"";
    EXPECT_FALSE(decodeRecording(with(quoted, "\"gone\""))) << name;
    for (const char* value : {"null", "true", "{}", "7", "[null]", "[[]]", "[{}]", "[true]"}) {
      EXPECT_FALSE(decodeRecording(with(quoted, quoted + ":" + value + ",\"x\""))) << name << value;
    }
  });
}

TEST(RecordingJson, TakesIntegersByValueWithinTheirRange) {
  for (const char* digits : {"1.0", "1e0", "10e-1", "1.00E+0"}) {
    EXPECT_EQ(decoded(with("65535", digits)).charArray.front(), 1) << digits;
  }
  for (const char* digits :
       {"65536", "-1", "0.5", "12e-1", "1e5", "\"1\"", "1e-400", "18446744073709551616"}) {
    EXPECT_FALSE(decodeRecording(with("65535", digits))) << digits;
  }
  EXPECT_THAT(decoded(with("[0,2]", "[-9223372036854775808,9223372036854775807]")).clickCountArray,
              ElementsAre(INT64_MIN, INT64_MAX));
  EXPECT_THAT(decoded(with("[0,2]", "[1e18,9007199254740993.0,-9223372036854775.808e3,0e400]"))
                  .clickCountArray,
              ElementsAre(1'000'000'000'000'000'000, 9007199254740993, INT64_MIN, 0));
  for (const char* digits : {"9223372036854775808", "-9223372036854775809",
                             "9223372036854775.808e3", "9223372036854775807.5", "1e19", "2.5",
                             "1e400", "1e-9999999999999999999", "1e9999999999999999999"}) {
    EXPECT_FALSE(decodeRecording(with("[0,2]", std::string("[") + digits + "]"))) << digits;
  }
}

TEST(RecordingJson, RefusesWhatIsNoJsonOrNoRecord) {
  for (std::size_t length = 0; length < sampleText.size(); ++length) {
    EXPECT_FALSE(decodeRecording(std::string_view(sampleText).substr(0, length))) << length;
  }
  for (const char* number :
       {"1e400", "01", ".1", "+1", "NaN", "-Infinity", "0x1", "0.1,", "0.1/**/"}) {
    EXPECT_FALSE(decodeRecording(with("0.1", number))) << number;
  }
  for (const char* title : {"\n", R"(\x)", R"(\ud800)", R"(\udc00)", R"(\udc00\udc00)",
                            R"(\ud800\u0041)", R"(\ud800\ud800)"}) {
    EXPECT_FALSE(decodeRecording(with("New", title))) << title;
  }
  for (const std::string& text : {sampleText + "x", sampleText + "\0"s, sampleText + "\0{"s,
                                  "[" + sampleText + "]", "null"s, "7"s, "\"\""s}) {
    EXPECT_FALSE(decodeRecording(text)) << text;
  }
}

TEST(RecordingJson, SurvivesDeepNestingAndLongTexts) {
  constexpr std::size_t depth = 5'000'000;
  const std::string open(depth, '[');
  const std::string nested = open + std::string(depth, ']');
  EXPECT_FALSE(indexRecordings(open));
  EXPECT_FALSE(decodeRecording(open));
  EXPECT_EQ(decoded(with(R"("title")", R"("deep":)" + nested + R"(,"title")")), sample());
  const std::string title(10 << 20, 'x');
  EXPECT_EQ(decoded(with("New Recording", title)).title, title);
  EXPECT_FALSE(decodeRecording(with("0.1", "1e" + std::string(1 << 20, '9'))));
  EXPECT_DOUBLE_EQ(decoded(with("0.1", "0.1" + std::string(1 << 20, '0'))).timestampArray.front(),
                   0.1);
}

}  // namespace
}  // namespace tapeloop
