#include "platform/input_event.h"

#include <utility>

namespace tapeloop {

namespace {

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
