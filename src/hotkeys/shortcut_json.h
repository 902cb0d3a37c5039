#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "hotkeys/shortcut.h"

namespace tapeloop {

/// A JSON object with the integer members "carbonKeyCode" and "carbonModifiers".
[[nodiscard]] std::string toJson(const Shortcut& shortcut);
/// Members come in any order, others are ignored. Nothing for a text of another form.
[[nodiscard]] std::optional<Shortcut> shortcutFromJson(std::string_view text);

}  // namespace tapeloop
