#pragma once

#include "hotkeys/keyboard_shortcuts.h"

namespace tapeloop {

// The slots of the program, both empty until the user fills them.
inline const Name toggleUnicornMode{"toggleUnicornMode", std::nullopt};    ///< Records.
inline const Name toggleUnicornMode2{"toggleUnicornMode2", std::nullopt};  ///< Plays.

}  // namespace tapeloop
