#include <algorithm>
#include <cstddef>
#include <string>

#include "controller/stored_recordings.h"
#include "fuzz/plain_reading.h"
#include "fuzz/targets.h"
#include "platform/memory_defaults_store.h"

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

void compare(StoredRecordings& stored, const std::vector<Recording>& expected) {
  const auto& list = stored.list();
  promise(list.size() == expected.size(), "a row for each record");
  for (std::size_t i = 0; i < expected.size(); ++i) {
    promise(list[i] == RecordingHead{expected[i].title, expected[i].uniqueID},
            "titles, identities");
    const auto recording = stored.recording(i);
    promise(recording && isSame(*recording, expected[i]), "the record");
  }
}

/// True if there was anything to change.
bool change(StoredRecordings& stored, std::vector<Recording>& expected, Steps& steps) {
  using Outcome = StoredRecordings::Outcome;
  constexpr std::size_t changes = 3;
  const std::size_t what = steps.number() % changes;
  const std::size_t index = steps.number() % (expected.size() + 1);
  const bool isThere = index < expected.size();
  const auto outcomeFor = [](bool isEncodable) {
    return isEncodable ? Outcome::stored : Outcome::notEncodable;
  };
  if (what == 0) {
    Recording added = isThere ? expected[index] : Recording{};
    added.title = steps.text();
    const bool isEncodable = encodeRecording(added).has_value();
    promise(stored.append(added).outcome == outcomeFor(isEncodable), "appended if it can be");
    if (isEncodable) expected.push_back(added);
    return isEncodable;
  }
  if (!isThere) {
    promise(stored.remove(index).outcome == Outcome::needless, "there is no such row");
    return false;
  }
  if (what == 1) {
    const std::string title(steps.text());
    const bool isEncodable = encodeText(title).has_value();
    promise(stored.rename(index, title).outcome == outcomeFor(isEncodable), "renamed if it can be");
    if (isEncodable) expected[index].title = title;
    return isEncodable;
  }
  promise(stored.remove(index).outcome == Outcome::stored, "removed");
  expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(index));
  return true;
}

}  // namespace

// The input is the JSON of a list and, behind a zero byte, the changes that are made to it.
void recordingList(std::string_view input) {
  constexpr int mostChanges = 24;
  const std::size_t end = std::min(input.find('\0'), input.size());
  const std::string_view text = input.substr(0, end);
  Steps steps(input.substr(std::min(end + 1, input.size())));

  auto expected = readRecordings(text);
  MemoryDefaultsStore store;
  (void)store.setObjectForKey(std::string(text), StoredRecordings::key);
  const auto storedText = [&store] {
    return std::get<std::string>(*store.objectForKey(StoredRecordings::key));
  };
  StoredRecordings stored(store);
  if (!expected) {
    promise(stored.list().empty(), "a list if and only if every record is valid");
    return;
  }
  compare(stored, *expected);
  promise(storedText() == text, "reading writes nothing");
  bool isChanged = false;
  for (int i = 0; i < mostChanges && !steps.isDone(); ++i) {
    isChanged |= change(stored, *expected, steps);
    compare(stored, *expected);
  }
  if (isChanged) {
    const std::string written = storedText();
    const auto spans = indexRecordings(written);
    promise(spans && spans->size() == expected->size(), "what was written can be read");
    for (const RecordingSpan& span : *spans) {
      promise(isCompact(written.substr(span.offset, span.length)), "strangers are gone");
    }
  }
  StoredRecordings again(store);
  compare(again, *expected);
}

}  // namespace tapeloop::fuzz
