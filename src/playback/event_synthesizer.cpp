#include "playback/event_synthesizer.h"

#include <limits>
#include <string>
#include <string_view>

#include "platform/number_text.h"

namespace tapeloop {
namespace {

bool carriesClickCount(const EventKind& kind) {
  return kind.eventClass == EventClass::button && kind.button == MouseButton::left;
}

std::int32_t truncated(double value) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (value != value) return 0;
  if (value <= Limits::min()) return Limits::min();
  if (value >= Limits::max()) return Limits::max();
  return static_cast<std::int32_t>(value);
}

// ".shift.command 0x120000"
std::string modifierSetText(std::uint64_t flags) {
  std::string text = modifierNames(flags);
  return text.append(text.empty() ? "0x" : " 0x").append(NumberText(flags, 16));
}

}  // namespace

void EventSynthesizer::postLoggedEvent(const InputEvent& event) {
  const EventKind* const kind = kindOf(event.type);
  if (kind == nullptr) return;
  switch (kind->eventClass) {
    case EventClass::motion:
    case EventClass::button:
      return postMouse(*kind, event.locationInWindow, event.clickCount);
    case EventClass::scroll:
      return postScroll(event.scrollingDeltaX, event.scrollingDeltaY);
    case EventClass::key:
      if (kind->goesDown) trace_.writeLine([&] { return modifierSetText(event.modifierFlags); });
      return postKey(event.keyCode, kind->goesDown, event.modifierFlags & modifier_flag::all);
  }
}

// The text of a row may contain the names of several kinds; each of them is posted.
void EventSynthesizer::postRecordedEvent(const Recording& recording, std::size_t index) {
  if (index >= recording.typeArray.size()) return;
  const std::string& names = recording.typeArray[index];
  for (const EventKind& kind : eventKinds) {
    if (names.find(kind.name) != std::string::npos) postRow(recording, index, kind);
  }
}

void EventSynthesizer::postRow(const Recording& r, std::size_t i, const EventKind& kind) {
  const auto reaches = [i](const auto&... columns) { return ((i < columns.size()) && ...); };
  switch (kind.eventClass) {
    case EventClass::motion:
    case EventClass::button:
      if (!reaches(r.locXArray, r.locYArray)) return;
      if (!carriesClickCount(kind)) return postMouse(kind, {r.locXArray[i], r.locYArray[i]}, 0);
      if (!reaches(r.clickCountArray)) return;
      return postMouse(kind, {r.locXArray[i], r.locYArray[i]}, r.clickCountArray[i]);
    case EventClass::scroll:
      if (!reaches(r.scrollingDeltaXArray, r.scrollingDeltaYArray)) return;
      return postScroll(r.scrollingDeltaXArray[i], r.scrollingDeltaYArray[i]);
    case EventClass::key:
      if (!reaches(r.charArray, r.modifierArray)) return;
      return postKey(r.charArray[i], kind.goesDown, modifiersNamed(r.modifierArray[i]));
  }
}

void EventSynthesizer::postMouse(const EventKind& kind, Point location, std::int64_t clickCount) {
  // Read for every event: screens may be rearranged during a run.
  const auto screens = screens_.screens();
  if (screens.empty()) return;
  const Point position{location.x, screens.front().frame.size.height - location.y};
  auto event = synthesis_.CGEventCreateMouseEvent(kind.type, position, kind.button);
  if (!event) return;
  if (carriesClickCount(kind)) {
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
  // Replaces the flags from the creation: the event has exactly the recorded modifiers.
  CGEventSetFlags(*event, modifierFlags);
  synthesis_.CGEventPost(TapLocation::hid, *event);
}

}  // namespace tapeloop
