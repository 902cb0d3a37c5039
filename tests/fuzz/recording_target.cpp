#include <cstddef>

#include "capture/recording_json.h"
#include "fuzz/plain_reading.h"
#include "fuzz/targets.h"
#include "support/recording_lists.h"

namespace tapeloop::fuzz {
namespace {

// A row that is written with two bytes in one column and makes room for itself in the others.
constexpr std::size_t mostBytesPerByte = 128;

std::size_t bytesIn(const std::vector<std::string>& column) {
  std::size_t bytes = column.capacity() * sizeof(std::string);
  for (const std::string& text : column) bytes += text.capacity();
  return bytes;
}
template <typename T>
std::size_t bytesIn(const std::vector<T>& column) {
  return column.capacity() * sizeof(T);
}
std::size_t bytesIn(const std::string& text) {
  return text.capacity();
}
std::size_t bytesIn(const Uuid&) {
  return 0;
}
std::size_t bytesIn(const Recording& recording) {
  std::size_t bytes = 0;
  forEachMember(recording,
                [&bytes](std::string_view, const auto& member) { bytes += bytesIn(member); });
  return bytes;
}

}  // namespace

// The input is the JSON of one recording.
void recording(std::string_view input) {
  const auto decoded = decodeRecording(input);
  const auto plain = readRecording(input);
  promise(decoded.has_value() == plain.has_value(), "accepted as the plain reading accepts");

  const std::string inList = "[" + std::string(input) + "]";
  const auto list = testing::recordingsIn(inList);
  const bool isAlone = list && list->size() == 1;
  promise(isAlone == decoded.has_value(), "valid in a list if and only if it is valid alone");
  if (!decoded) return;

  promise(isSame(*decoded, *plain), "read as the plain reading reads");
  promise(isSame(*decoded, list->front()), "the same in a list as alone");
  promise(bytesIn(*decoded) <= mostBytesPerByte * input.size(), "bounded by the input");

  const auto encoded = encodeRecording(*decoded);
  promise(encoded.has_value(), "what was read can be written");
  const auto again = decodeRecording(*encoded);
  promise(again.has_value(), "what was written can be read");
  promise(isSame(*again, *decoded), "written and read without loss");
  promise(std::hash<Recording>{}(*again) == std::hash<Recording>{}(*decoded), "hashes alike");
  promise(encodeRecording(*again) == encoded, "written the same way each time");
}

}  // namespace tapeloop::fuzz
