#pragma once

#include <string>

namespace tapeloop::support {

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
