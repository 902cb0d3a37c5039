#include "platform/input_event.h"

#include <utility>

namespace tapeloop {

std::string modifierNames(std::uint64_t modifiers) {
  static constexpr std::pair<std::uint64_t, const char*> names[] = {
      {modifier_flag::shift, ".shift"},     {modifier_flag::capsLock, ".capsLock"},
      {modifier_flag::command, ".command"}, {modifier_flag::function, ".function"},
      {modifier_flag::option, ".option"},   {modifier_flag::control, ".control"},
  };
  std::string text;
  for (const auto& [flag, name] : names) {
    if (modifiers & flag) text += name;
  }
  return text;
}

}  // namespace tapeloop
