#pragma once

#include "hotkeys/keyboard_shortcuts.h"

namespace tapeloop {

// The slots of the program, both empty until the user fills them.
inline const Name recordShortcut{"toggleUnicornMode", std::nullopt};
inline const Name playShortcut{"toggleUnicornMode2", std::nullopt};

}  // namespace tapeloop
