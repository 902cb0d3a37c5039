#include "full_library.h"

#include <cstdint>
#include <iterator>

#include "capture/recording_json.h"
#include "capture/recording_list.h"
#include "controller/stored_recordings.h"
#include "platform/system/sqlite_defaults_store.h"

namespace tapeloop::bench {

std::vector<InputEvent> someEvents(std::mt19937_64& random, std::size_t count) {
  constexpr EventType kinds[] = {EventType::mouseMoved, EventType::keyDown, EventType::mouseMoved,
                                 EventType::keyUp};
  std::vector<InputEvent> events(count);
  double time = 1234.5;
  for (std::size_t i = 0; i < events.size(); ++i) {
    time += static_cast<double>(random() % 16000) * 1e-6;
    events[i].type = kinds[i % std::size(kinds)];
    events[i].timestamp = time;
    events[i].locationInWindow = {static_cast<double>(random() % 192000) / 100,
                                  static_cast<double>(random() % 108000) / 100};
    events[i].keyCode = static_cast<std::uint16_t>(random() % 128);
  }
  return events;
}

bool makeLibrary(const std::filesystem::path& file, const LibrarySize& size) {
  std::filesystem::remove(file);
  const auto opened = system::SqliteDefaultsStore::open(file);
  if (!opened.store) return false;
  std::mt19937_64 random(1);
  // One body for all of them: to encode it takes longer than to store it.
  const Recording recording = makeRecording(someEvents(random, size.events));
  const auto text = encodeRecording(recording).value();
  const auto rest = text.substr(encodeHead({recording.title, recording.uniqueID})->size());
  return opened.store->transaction([&](StoreWriter& writer) {
    writer.setEmptyList(StoredRecordings::key);
    for (std::size_t i = 0; i < size.recordings; ++i) {
      const auto head = encodeHead({"Recording " + std::to_string(i), Uuid::random()});
      writer.append(*head, rest, StoredRecordings::key);
    }
  }) == StoreStatus::stored;
}

}  // namespace tapeloop::bench
