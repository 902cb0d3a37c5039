#include <cstdint>
#include <limits>
#include <string>

#include "fuzz/targets.h"
#include "hotkeys/keyboard_shortcuts.h"
#include "hotkeys/shortcut.h"
#include "platform/simulated/simulated_desktop.h"

namespace tapeloop::fuzz {
namespace {

bool isUnsigned32(std::int64_t value) {
  return value >= 0 && value <= std::numeric_limits<std::uint32_t>::max();
}

}  // namespace

// The input is what the store holds for a slot.
void shortcut(std::string_view input) {
  const auto decoded = shortcutFromJson(input);
  if (decoded) {
    promise(input.find('\0') == std::string_view::npos, "all of the text counts");
    promise(shortcutFromJson(toJson(*decoded)) == decoded, "written and read without loss");
  }

  simulated::SimulatedDesktop desktop;
  (void)desktop.defaults.setObjectForKey(std::string(input), "KeyboardShortcuts_slot");
  KeyboardShortcuts shortcuts(desktop.hotKeys, desktop.defaults, desktop.notifications);
  const Name slot = shortcuts.name("slot");
  promise(shortcuts.shortcut(slot) == decoded, "the slot holds what is stored");
  int pressed = 0;
  shortcuts.onKeyDown(slot, [&pressed] { ++pressed; });
  if (!decoded) return;

  (void)displayText(*decoded, desktop.keyboardLayouts);
  const bool fits = isUnsigned32(decoded->carbonKeyCode) && isUnsigned32(decoded->carbonModifiers);
  promise(desktop.hotKeys.registrations.size() == (fits ? 1U : 0U), "taken if it can be pressed");
  if (fits) {
    desktop.hotKeys.press({static_cast<std::uint32_t>(decoded->carbonKeyCode),
                           static_cast<std::uint32_t>(decoded->carbonModifiers)});
  }
  promise(pressed == (fits ? 1 : 0), "one press, one action");
  shortcuts.setShortcut(slot, std::nullopt);
  promise(desktop.hotKeys.registrations.empty(), "a cleared slot takes nothing");
}

}  // namespace tapeloop::fuzz
