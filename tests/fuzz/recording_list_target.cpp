#include <algorithm>
#include <cstddef>
#include <string>

#include "capture/recording_list.h"
#include "fuzz/plain_reading.h"
#include "fuzz/targets.h"

namespace tapeloop::fuzz {
namespace {

/// Bytes that say what to do; 0 when there are no more.
class Steps {
 public:
  explicit Steps(std::string_view bytes) : bytes_(bytes) {}
  [[nodiscard]] bool isDone() const { return bytes_.empty(); }
  std::size_t number() {
    if (isDone()) return 0;
    const auto number = static_cast<unsigned char>(bytes_.front());
    bytes_.remove_prefix(1);
    return number;
  }
  std::string_view text() {
    constexpr std::size_t lengths = 12;
    const auto text = bytes_.substr(0, number() % lengths);
    bytes_.remove_prefix(text.size());
    return text;
  }

 private:
  std::string_view bytes_;
};

void compare(const RecordingList& list, const std::vector<Recording>& expected) {
  promise(list.size() == expected.size(), "a row for each record");
  std::string text = "[";
  for (std::size_t i = 0; i < expected.size(); ++i) {
    promise(list.title(i) == expected[i].title, "titles");
    promise(list.uniqueID(i) == expected[i].uniqueID, "identities");
    promise(isSame(list.recording(i), expected[i]), "the record");
    promise(isCompact(list.recordText(i)), "strangers are gone from the text of a record");
    text.append(i > 0 ? "," : "").append(list.recordText(i));
  }
  promise(list.text() == text + "]", "the text is that of the records");
}

void change(RecordingList& list, std::vector<Recording>& expected, Steps& steps) {
  constexpr std::size_t changes = 3;
  const std::size_t what = steps.number() % changes;
  const std::size_t index = steps.number() % (expected.size() + 1);
  const bool isThere = index < expected.size();
  if (what == 0) {
    Recording added = isThere ? expected[index] : Recording{};
    added.title = steps.text();
    const bool isEncodable = encodeRecording(added).has_value();
    promise(list.append(added) == isEncodable, "appended if it can be written");
    if (isEncodable) expected.push_back(added);
  } else if (what == 1 && isThere) {
    const std::string title(steps.text());
    const bool isEncodable = encodeText(title).has_value();
    promise(list.rename(index, title) == isEncodable, "renamed if it can be written");
    if (isEncodable) expected[index].title = title;
  } else if (what == 2 && isThere) {
    list.remove(index);
    expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(index));
  }
}

}  // namespace

// The input is the JSON of a list and, behind a zero byte, the changes that are made to it.
void recordingList(std::string_view input) {
  constexpr int mostChanges = 24;
  const std::size_t end = std::min(input.find('\0'), input.size());
  const std::string_view text = input.substr(0, end);
  Steps steps(input.substr(std::min(end + 1, input.size())));

  auto expected = readRecordings(text);
  auto list = RecordingList::parse(std::string(text));
  promise(list.has_value() == expected.has_value(), "a list if and only if every record is valid");
  if (!list) return;

  compare(*list, *expected);
  for (int i = 0; i < mostChanges && !steps.isDone(); ++i) {
    change(*list, *expected, steps);
    compare(*list, *expected);
  }
  const auto again = RecordingList::parse(list->text());
  promise(again.has_value(), "what was written can be read");
  compare(*again, *expected);
}

}  // namespace tapeloop::fuzz
