#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tapeloop::support {

// What the server holds at this moment, asked for through a connection of its own.

/// X keycodes of the keys that are down.
[[nodiscard]] std::vector<std::uint8_t> keysDown(const std::string& display);

struct XPointer {
  int x = 0;
  int y = 0;
  std::vector<std::uint8_t> buttonsDown;  ///< Of the buttons 1 to 5.
  std::uint16_t modifiers = 0;            ///< The low eight bits of the mask.
};
[[nodiscard]] XPointer pointerState(const std::string& display);

inline constexpr const char* testKeyboard = "Virtual core XTEST keyboard";
inline constexpr const char* coreKeyboard = "Virtual core keyboard";

/// How the server repeats a held key of a keyboard.
struct XRepeat {
  bool isOn = true;
  int delay = 0;  ///< Milliseconds, as is the interval.
  int interval = 0;
  friend bool operator==(const XRepeat&, const XRepeat&) = default;
};
[[nodiscard]] XRepeat repeatOf(const std::string& display, const std::string& device);

/// Sets how fast all keyboards repeat, as a person does in the settings of a desktop.
void setRepeatRate(const std::string& display, int delay, int interval);
/// Switches the repeats of a keyboard on or off.
void setRepeatsKeys(const std::string& display, const std::string& device, bool repeats);

// Input devices come and go. Each call returns when the server has made the change, and throws when
// it refuses.

/// A second pointer and keyboard, "NAME pointer" and "NAME keyboard", with test devices of their
/// own. The name has five to eight characters.
void addMasterDevices(const std::string& display, const std::string& name);
/// Removes them again.
void removeMasterDevices(const std::string& display, const std::string& name);
/// Takes a device away from its pointer or keyboard, which is what unplugging it comes to.
void detachDevice(const std::string& display, const std::string& device);

}  // namespace tapeloop::support
