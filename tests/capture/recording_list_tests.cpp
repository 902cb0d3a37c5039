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

TEST(RecordingList, DropsWhatOtherWritersLeftInTheText) {
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
    const auto list = RecordingList::parse(foreign);
    ASSERT_TRUE(list) << foreign;
    EXPECT_EQ(list->text(), text);
    for (std::size_t i = 0; i < records.size(); ++i) {
      EXPECT_EQ(list->title(i), records[i].title);
      EXPECT_EQ(list->uniqueID(i), records[i].uniqueID);
      EXPECT_EQ(list->recordText(i), encodeRecording(records[i]));
      EXPECT_EQ(list->recording(i), records[i]);
    }
  }
  EXPECT_EQ(RecordingList::parse("[ ]")->text(), "[]");
}

TEST(RecordingList, OneInvalidRecordMakesTheTextUnreadable) {
  const std::vector<Recording> records = {recordingTitled("a"), recordingTitled("b"),
                                          recordingTitled("c")};
  const std::string text = listText(records);
  for (std::string::size_type at = text.find("\"clickCountArray\""); at != std::string::npos;
       at = text.find("\"clickCountArray\"", at + 1)) {
    std::string lacking = text;
    lacking.replace(at, 17, "\"otherCountArray\"");
    EXPECT_FALSE(RecordingList::parse(lacking));
  }
  for (const char* none : {"", "{}", "null", "[null]", "[[]]", "[{}]", "[1]", "[", "[]x"}) {
    EXPECT_FALSE(RecordingList::parse(none)) << none;
  }
  EXPECT_FALSE(RecordingList::parse(text.substr(0, text.size() - 1)));
  EXPECT_FALSE(RecordingList::parse(text.substr(0, text.size() - 1) + ",]"));
  EXPECT_FALSE(RecordingList::parse(*encodeRecording(records[0])));
}

}  // namespace
}  // namespace tapeloop
