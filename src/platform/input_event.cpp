#include "platform/input_event.h"

#include <utility>

namespace tapeloop {

namespace {

// Checks that every event type has a row in `eventKinds`: -Wswitch reports a type that is missing
// in the switch, and the assertion one that has no row.
constexpr bool isEventType(EventType type) {
  switch (type) {
    case EventType::leftMouseDown:
    case EventType::leftMouseUp:
    case EventType::rightMouseDown:
    case EventType::rightMouseUp:
    case EventType::mouseMoved:
    case EventType::leftMouseDragged:
    case EventType::keyDown:
    case EventType::keyUp:
    case EventType::scrollWheel:
      return true;
  }
  return false;
}
constexpr bool everyTypeHasARow() {
  for (std::uint32_t number = 0; number < 64; ++number) {
    const auto type = static_cast<EventType>(number);
    if (isEventType(type) != (kindOf(type) != nullptr)) return false;
  }
  return true;
}
static_assert(everyTypeHasARow());

constexpr std::pair<std::uint64_t, std::string_view> modifiersInOrder[] = {
    {modifier_flag::shift, ".shift"},     {modifier_flag::capsLock, ".capsLock"},
    {modifier_flag::command, ".command"}, {modifier_flag::function, ".function"},
    {modifier_flag::option, ".option"},   {modifier_flag::control, ".control"},
};

}  // namespace

std::string modifierNames(std::uint64_t modifiers) {
  std::string text;
  for (const auto& [flag, name] : modifiersInOrder) {
    if (modifiers & flag) text += name;
  }
  return text;
}

std::uint64_t modifiersNamed(std::string_view names) {
  std::uint64_t modifiers = 0;
  for (const auto& [flag, name] : modifiersInOrder) {
    if (names.find(name) != std::string_view::npos) modifiers |= flag;
  }
  return modifiers;
}

}  // namespace tapeloop
