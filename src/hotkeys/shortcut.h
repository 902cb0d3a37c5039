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

/// The combination of a named shortcut. What is outside the unsigned 32 bits can be stored and
/// never be pressed.
struct Shortcut {
  std::int64_t carbonKeyCode = 0;
  std::int64_t carbonModifiers = 0;  ///< Modifier bits.
  friend bool operator==(const Shortcut&, const Shortcut&) = default;
};

/// Nothing unless the event is a key's.
[[nodiscard]] std::optional<Shortcut> shortcutOf(const InputEvent& event);

/// What the key is called or writes in the layout in force, UTF-8. Nothing for a key without.
[[nodiscard]] std::optional<std::string> characterOf(std::int64_t keyCode,
                                                     KeyboardLayouts& layouts);
[[nodiscard]] std::string displayText(const Shortcut& shortcut, KeyboardLayouts& layouts);

/// Whether the desktop or another program has taken the combination.
[[nodiscard]] bool isSystemShortcut(const Shortcut& shortcut, HotKeyService& service);
/// The first item, depth first, that the shortcut would choose. Lives as long as the menu.
[[nodiscard]] const MenuItem* menuItemOwning(const Shortcut& shortcut, const Menu& menu,
                                             KeyboardLayouts& layouts);

/// A JSON object with the integer members "carbonKeyCode" and "carbonModifiers".
[[nodiscard]] std::string toJson(const Shortcut& shortcut);
/// Members come in any order, others are ignored. Nothing for a text of another form.
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
