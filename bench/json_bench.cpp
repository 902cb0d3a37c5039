// Recordings to and from JSON beside the least that the library's parser and a copy of ready text
// take, on the same text.
#include <cmath>
#include <cstring>
#include <random>

#include <benchmark/benchmark.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include "capture/recording_json.h"

namespace {

using namespace tapeloop;

constexpr std::size_t eventCount = 1'000'000;

/// Half of it pointer moves at fractions of a point, the rest keys, clicks and scrolling.
const Recording& recording() {
  static const Recording made = [] {
    constexpr EventType kinds[] = {EventType::mouseMoved, EventType::keyDown,
                                   EventType::mouseMoved, EventType::keyUp,
                                   EventType::mouseMoved, EventType::leftMouseDown,
                                   EventType::mouseMoved, EventType::scrollWheel};
    std::mt19937_64 random(1);
    std::vector<InputEvent> events(eventCount);
    double time = 1234.5;
    for (std::size_t i = 0; i < events.size(); ++i) {
      time += static_cast<double>(random() % 16000) * 1e-6;
      events[i].type = kinds[i % std::size(kinds)];
      events[i].timestamp = time;
      events[i].locationInWindow = {static_cast<double>(random() % 192000) / 100,
                                    static_cast<double>(random() % 1080)};
      events[i].keyCode = static_cast<std::uint16_t>(random() % 128);
      events[i].modifierFlags = random() % 8 == 0 ? modifier_flag::all : 0;
      events[i].scrollingDeltaY = -10;
      events[i].clickCount = 1;
    }
    return makeRecording(events);
  }();
  return made;
}

const std::string& text() {
  static const std::string encoded = *encodeRecording(recording());
  return encoded;
}

void reportThroughput(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text().size()));
}

struct Ignore : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Ignore> {};

void decode(benchmark::State& state) {
  text();
  for (auto _ : state) benchmark::DoNotOptimize(decodeRecording(text()));
  reportThroughput(state);
}
BENCHMARK(decode)->Unit(benchmark::kMillisecond);

void parseToNothing(benchmark::State& state) {
  text();
  for (auto _ : state) {
    rapidjson::MemoryStream stream(text().data(), text().size());
    rapidjson::Reader reader;
    Ignore ignore;
    benchmark::DoNotOptimize(
        reader.Parse<rapidjson::kParseFullPrecisionFlag | rapidjson::kParseValidateEncodingFlag |
                     rapidjson::kParseIterativeFlag>(stream, ignore));
  }
  reportThroughput(state);
}
BENCHMARK(parseToNothing)->Unit(benchmark::kMillisecond);

void encode(benchmark::State& state) {
  text();
  for (auto _ : state) benchmark::DoNotOptimize(encodeRecording(recording()));
  reportThroughput(state);
}
BENCHMARK(encode)->Unit(benchmark::kMillisecond);

void copyReadyText(benchmark::State& state) {
  text();
  for (auto _ : state) benchmark::DoNotOptimize(std::string(text()));
  reportThroughput(state);
}
BENCHMARK(copyReadyText)->Unit(benchmark::kMillisecond);

}  // namespace
