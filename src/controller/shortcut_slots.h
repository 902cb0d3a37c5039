#pragma once

#include "capture/capture_state.h"
#include "hotkeys/keyboard_shortcuts.h"

namespace tapeloop {

// The slots of the global shortcuts, empty until the user fills them. `ContentView` says what each
// of them does.
inline const Name recordShortcut{"toggleUnicornMode", std::nullopt};
inline const Name playShortcut{"toggleUnicornMode2", std::nullopt};

/// A slot as the settings sheet shows it: a tinted box with a caption and a recorder field.
struct ShortcutSlot {
  const Name& name;
  const char* caption;
  Color tint;
  Color tintOnDark;  ///< For a dark window.
};

inline const ShortcutSlot shortcutSlots[] = {
    {recordShortcut, "Record Shortcut", tapeloopRed, tapeloopRed},
    {playShortcut, "Play Shortcut", rgb(40, 205, 65), rgb(50, 215, 75)},
};

}  // namespace tapeloop
