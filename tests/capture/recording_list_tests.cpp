#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "capture/recording_list.h"
#include "support/recording_lists.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;

Recording recordingTitled(const char* title) {
  Recording recording = makeRecording({keyDown(0, 1, modifier_flag::all), keyUp(0.1, 1)});
  recording.title = title;
  return recording;
}

TEST(RecordingList, KnowsWhatOtherWritersWrote) {
  const std::vector<Recording> records = {recordingTitled("first"), recordingTitled("two words"),
                                          recordingTitled("third")};
  const std::string text = listText(records);
  const auto replaced = [&text](const std::string& from, const std::string& to) {
    std::string changed = text;
    changed.replace(changed.find(from), from.size(), to);
    return changed;
  };
  const std::string id = records[1].uniqueID.text();
  std::string lowerCase = id;
  for (char& digit : lowerCase) digit = static_cast<char>(std::tolower(digit));
  for (const std::string& foreign : {
           replaced("{\"title\":\"two", "{\"color\":[{\"title\":\"red\"},{}],\"title\":\"two"),
           replaced("}]", ",\"color\":\"red\"}]"),
           replaced("{\"title\":\"two", "{\"title\":\"none\",\"title\":\"two"),
           replaced("{\"title\":\"two", "{ \"title\":\"two"),
           replaced("\"two words\",", "\"two\\u0020words\",\n"),
           replaced("\"title\":\"first\",\"uniqueID\":\"" + records[0].uniqueID.text() + "\"",
                    "\"uniqueID\":\"" + records[0].uniqueID.text() + "\",\"title\":\"first\""),
           replaced("[{", "[\t{"),
           replaced("},{", "},\n {"),
           replaced(id, lowerCase),
           " " + text + "\n",
       }) {
    const auto spans = indexRecordings(foreign);
    ASSERT_TRUE(spans) << foreign;
    EXPECT_EQ(recordingsIn(foreign), records);
    for (std::size_t i = 0; i < records.size(); ++i) {
      const RecordingSpan& span = (*spans)[i];
      EXPECT_EQ(span.title, records[i].title);
      EXPECT_EQ(span.uniqueID, records[i].uniqueID);
      EXPECT_EQ(span.isCanonical,
                foreign.substr(span.offset, span.length) == encodeRecording(records[i]));
    }
  }
  EXPECT_TRUE(indexRecordings("[ ]")->empty());
}

TEST(RecordingList, AHeadIsWhatARecordBeginsWith) {
  for (const std::string title : {"", "plain", "\"quoted\\\n", "\xc3\xa4 \xf0\x9f\x8e\x89"}) {
    Recording recording = recordingTitled(title.c_str());
    const auto head = encodeHead({title, recording.uniqueID});
    ASSERT_TRUE(head);
    EXPECT_TRUE(encodeRecording(recording)->starts_with(*head + ",\"typeArray\""));
    EXPECT_EQ(decodeHead(*head), (RecordingHead{title, recording.uniqueID}));
    for (std::size_t length = 0; length < head->size(); ++length) {
      EXPECT_FALSE(decodeHead(head->substr(0, length)));
    }
    EXPECT_FALSE(decodeHead(*head + '"'));
  }
  EXPECT_FALSE(encodeHead({"\xff", Uuid()}));
}

TEST(RecordingList, OneInvalidRecordAnywhereMakesTheWholeTextUnreadable) {
  const std::vector<Recording> records = {recordingTitled("a"), recordingTitled("b"),
                                          recordingTitled("c")};
  const std::string text = listText(records);
  for (std::string::size_type at = text.find("\"clickCountArray\""); at != std::string::npos;
       at = text.find("\"clickCountArray\"", at + 1)) {
    std::string lacking = text;
    lacking.replace(at, 17, "\"otherCountArray\"");
    EXPECT_FALSE(indexRecordings(lacking));
  }
  for (const char* none : {"", "{}", "null", "[null]", "[[]]", "[{}]", "[1]", "[", "[]x"}) {
    EXPECT_FALSE(indexRecordings(none)) << none;
  }
  EXPECT_FALSE(indexRecordings(text.substr(0, text.size() - 1)));
  EXPECT_FALSE(indexRecordings(text.substr(0, text.size() - 1) + ",]"));
  EXPECT_FALSE(indexRecordings(*encodeRecording(records[0])));
}

}  // namespace
}  // namespace tapeloop
