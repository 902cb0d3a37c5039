#include "hotkeys/recorder_texts.h"

namespace tapeloop {
namespace {

struct Text {
  std::string_view key;
  std::string_view english;
};

constexpr Text builtIn[] = {
    {"record_shortcut", "Set Shortcut"},
    {"press_shortcut", "Press Shortcut"},
    {"keyboard_shortcut_used_by_menu_item",
     "This keyboard shortcut cannot be used because it already belongs to the menu item "
     "\u201c%@\u201d."},
    {"keyboard_shortcut_used_by_system",
     "This keyboard shortcut cannot be used because the desktop or another program already uses "
     "it."},
    {"keyboard_shortcuts_can_be_changed",
     "Most keyboard shortcuts of the desktop can be changed in its keyboard settings."}};

constexpr std::string_view placeOfArgument = "%@";

}  // namespace

std::string_view RecorderTexts::text(std::string_view key) const {
  if (const auto found = texts_.find(key); found != texts_.end()) return found->second;
  for (const auto& each : builtIn) {
    if (each.key == key) return each.english;
  }
  return {};
}

std::string RecorderTexts::format(std::string_view key, std::string_view argument) const {
  std::string formatted(text(key));
  if (const auto place = formatted.find(placeOfArgument); place != std::string::npos) {
    formatted.replace(place, placeOfArgument.size(), argument);
  }
  return formatted;
}

}  // namespace tapeloop
