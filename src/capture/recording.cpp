#include "capture/recording.h"

#include <algorithm>

namespace tapeloop {
namespace {

/// Depends on the order of the elements and on which list they are in.
class Hasher {
 public:
  void add(std::size_t value) { hash_ ^= value + 0x9e3779b97f4a7c15 + (hash_ << 6) + (hash_ >> 2); }
  // std::hash is the same for 0.0 and -0.0, which compare equal.
  void add(double value) { add(std::hash<double>{}(value)); }
  void add(std::int64_t value) { add(static_cast<std::size_t>(value)); }
  void add(std::uint16_t value) { add(static_cast<std::size_t>(value)); }
  void add(const Uuid& value) {
    for (const std::uint8_t byte : value.bytes) add(std::size_t{byte});
  }
  void add(const std::string& value) { add(std::hash<std::string>{}(value)); }
  template <typename T>
  void add(const std::vector<T>& list) {
    add(list.size());
    for (const T& element : list) add(element);
  }
  [[nodiscard]] std::size_t hash() const { return hash_; }

 private:
  std::size_t hash_ = 0;
};

}  // namespace

void Recording::append(const InputEvent& event) {
  const EventKind* const kind = kindOf(event.type);
  if (kind == nullptr) return;
  const bool isScroll = kind->eventClass == EventClass::scroll;
  const bool isKey = kind->eventClass == EventClass::key;
  const bool isButton = kind->eventClass == EventClass::button;
  timestampArray.push_back(event.timestamp);
  locXArray.push_back(event.locationInWindow.x);
  locYArray.push_back(event.locationInWindow.y);
  typeArray.emplace_back(kind->name);
  scrollingDeltaXArray.push_back(isScroll ? event.scrollingDeltaX : 0);
  scrollingDeltaYArray.push_back(isScroll ? event.scrollingDeltaY : 0);
  charArray.push_back(isKey ? event.keyCode : std::uint16_t{0});
  modifierArray.push_back(isKey ? modifierNames(event.modifierFlags) : std::string());
  clickCountArray.push_back(isButton ? event.clickCount : 0);
}

Recording makeRecording(const std::vector<InputEvent>& events) {
  Recording recording;
  recording.title = "New Recording";
  recording.uniqueID = Uuid::random();
  for (const InputEvent& event : events) recording.append(event);
  return recording;
}

}  // namespace tapeloop

std::size_t std::hash<tapeloop::Recording>::operator()(
    const tapeloop::Recording& recording) const noexcept {
  tapeloop::Hasher hasher;
  tapeloop::forEachMember(recording,
                          [&hasher](std::string_view, const auto& member) { hasher.add(member); });
  return hasher.hash();
}
