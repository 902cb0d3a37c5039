#include "playback/event_synthesizer.h"

#include <array>
#include <charconv>
#include <limits>
#include <string>
#include <string_view>

namespace tapeloop {
namespace {

constexpr std::array mouseTypes = {
    EventType::mouseMoved,    EventType::rightMouseDown, EventType::rightMouseUp,
    EventType::leftMouseDown, EventType::leftMouseUp,    EventType::leftMouseDragged,
};

bool isRightButton(EventType type) {
  return type == EventType::rightMouseDown || type == EventType::rightMouseUp;
}

bool carriesClickCount(EventType type) {
  return type == EventType::leftMouseDown || type == EventType::leftMouseUp;
}

// The entries of one row, as far as the columns reach.
class Row {
 public:
  Row(const Recording& recording, std::size_t index) : recording_(recording), index_(index) {}

  [[nodiscard]] bool names(EventType type) const {
    return recording_.typeArray[index_].find(eventKind(type)) != std::string::npos;
  }
  template <typename... Columns>
  [[nodiscard]] bool reaches(const Columns&... columns) const {
    return ((index_ < columns.size()) && ...);
  }

 private:
  const Recording& recording_;
  const std::size_t index_;
};

std::int32_t truncated(double value) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (value != value) return 0;
  if (value <= Limits::min()) return Limits::min();
  if (value >= Limits::max()) return Limits::max();
  return static_cast<std::int32_t>(value);
}

// ".shift.command 0x120000"
std::string modifierSetText(std::uint64_t flags) {
  std::array<char, 16> digits{};
  const auto end = std::to_chars(digits.begin(), digits.end(), flags, 16).ptr;
  std::string text = modifierNames(flags);
  text.append(text.empty() ? "0x" : " 0x").append(digits.begin(), end);
  return text;
}

}  // namespace

void EventSynthesizer::postLoggedEvent(const InputEvent& event) {
  switch (event.type) {
    case EventType::mouseMoved:
    case EventType::rightMouseDown:
    case EventType::rightMouseUp:
    case EventType::leftMouseDown:
    case EventType::leftMouseUp:
    case EventType::leftMouseDragged:
      return postMouse(event.type, event.locationInWindow, event.clickCount);
    case EventType::scrollWheel:
      return postScroll(event.scrollingDeltaX, event.scrollingDeltaY);
    case EventType::keyDown:
      trace_.writeLine([&] { return modifierSetText(event.modifierFlags); });
      return postKey(event.keyCode, true, event.modifierFlags & modifier_flag::all);
    case EventType::keyUp:
      return postKey(event.keyCode, false, event.modifierFlags & modifier_flag::all);
  }
}

void EventSynthesizer::postRecordedEvent(const Recording& recording, std::size_t index) {
  const Recording& r = recording;
  const Row row(r, index);
  if (!row.reaches(r.typeArray)) return;
  // A kind is looked for inside the text and not compared with it, and a text that names several
  // kinds posts each of them.
  if (row.reaches(r.locXArray, r.locYArray)) {
    for (const EventType type : mouseTypes) {
      if (!row.names(type)) continue;
      if (!carriesClickCount(type)) {
        postMouse(type, {r.locXArray[index], r.locYArray[index]}, 0);
      } else if (row.reaches(r.clickCountArray)) {
        postMouse(type, {r.locXArray[index], r.locYArray[index]}, r.clickCountArray[index]);
      }
    }
  }
  if (row.names(EventType::scrollWheel) &&
      row.reaches(r.scrollingDeltaXArray, r.scrollingDeltaYArray)) {
    postScroll(r.scrollingDeltaXArray[index], r.scrollingDeltaYArray[index]);
  }
  if (!row.reaches(r.charArray, r.modifierArray)) return;
  const std::uint64_t modifiers = modifiersNamed(r.modifierArray[index]);
  if (row.names(EventType::keyDown)) postKey(r.charArray[index], true, modifiers);
  if (row.names(EventType::keyUp)) postKey(r.charArray[index], false, modifiers);
}

void EventSynthesizer::postMouse(EventType type, Point location, std::int64_t clickCount) {
  // Asked for every event: screens may be rearranged in the middle of a run.
  const auto screens = screens_.screens();
  if (screens.empty()) return;
  const Point position{location.x, screens.front().frame.size.height - location.y};
  auto event = synthesis_.CGEventCreateMouseEvent(
      type, position, isRightButton(type) ? MouseButton::right : MouseButton::left);
  if (!event) return;
  if (carriesClickCount(type)) {
    CGEventSetIntegerValueField(*event, EventField::mouseClickState, clickCount);
  }
  synthesis_.CGEventPost(TapLocation::hid, *event);
}

void EventSynthesizer::postScroll(double deltaX, double deltaY) {
  const auto event = synthesis_.CGEventCreateScrollWheelEvent2(
      ScrollUnit::pixel, 2, truncated(deltaY), truncated(deltaX), 0);
  if (event) synthesis_.CGEventPost(TapLocation::hid, *event);
}

void EventSynthesizer::postKey(std::uint16_t keyCode, bool keyDown, std::uint64_t modifierFlags) {
  auto event = synthesis_.CGEventCreateKeyboardEvent(keyCode, keyDown);
  if (!event) return;
  // Whatever the event got at its creation goes: exactly the recorded modifiers count.
  CGEventSetFlags(*event, modifierFlags);
  synthesis_.CGEventPost(TapLocation::hid, *event);
}

}  // namespace tapeloop
