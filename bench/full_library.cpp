#include "full_library.h"

#include <cstdint>
#include <cstdlib>
#include <iterator>

#include "capture/recording_json.h"
#include "capture/recording_list.h"

namespace tapeloop::bench {

std::vector<InputEvent> someEvents(std::mt19937_64& random) {
  constexpr EventType kinds[] = {EventType::mouseMoved, EventType::keyDown, EventType::mouseMoved,
                                 EventType::keyUp};
  std::vector<InputEvent> events(1000);
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

std::string fullLibraryText() {
  std::mt19937_64 random(1);
  RecordingList list;
  for (std::size_t i = 0; i < recordingCount; ++i) {
    Recording recording = makeRecording(someEvents(random));
    recording.title = "Recording " + std::to_string(i);
    if (!list.append(recording)) std::abort();
  }
  return std::string(list.text());
}

}  // namespace tapeloop::bench
