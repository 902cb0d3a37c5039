#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/desktop_services.h"
#include "platform/hotkey_service.h"
#include "platform/input_event.h"
#include "platform/keyboard_layout.h"

namespace tapeloop {

/// The combination of a named shortcut. Values that don't fit unsigned 32 bits can be stored, but
/// are never registered.
struct Shortcut {
  std::int64_t carbonKeyCode = 0;
  std::int64_t carbonModifiers = 0;  ///< Modifier bits.
  friend bool operator==(const Shortcut&, const Shortcut&) = default;
};

/// Nothing unless it is a key event.
[[nodiscard]] std::optional<Shortcut> shortcutOf(const InputEvent& event);

/// The fixed name of the key, or what it writes in the current layout, UTF-8. Nothing if it has
/// neither.
[[nodiscard]] std::optional<std::string> characterOf(std::int64_t keyCode,
                                                     KeyboardLayouts& layouts);
[[nodiscard]] std::string displayText(const Shortcut& shortcut, KeyboardLayouts& layouts);

/// Whether the desktop or another program has taken the combination.
[[nodiscard]] bool isSystemShortcut(const Shortcut& shortcut, HotKeyService& service);
/// The first item, depth first, with this key equivalent. A pointer into `menu`; null if none.
[[nodiscard]] const MenuItem* menuItemOwning(const Shortcut& shortcut, const Menu& menu,
                                             KeyboardLayouts& layouts);

/// A JSON object with the integer members "carbonKeyCode" and "carbonModifiers".
[[nodiscard]] std::string toJson(const Shortcut& shortcut);
/// Members may be in any order, unknown ones are ignored. Nothing if the text is anything else.
[[nodiscard]] std::optional<Shortcut> shortcutFromJson(std::string_view text);

}  // namespace tapeloop

template <>
struct std::hash<tapeloop::Shortcut> {
  std::size_t operator()(const tapeloop::Shortcut& shortcut) const noexcept {
    constexpr std::size_t oddFactor = 0x9e3779b97f4a7c15U;
    return std::hash<std::int64_t>{}(shortcut.carbonKeyCode) * oddFactor ^
           std::hash<std::int64_t>{}(shortcut.carbonModifiers);
  }
};
