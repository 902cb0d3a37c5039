#pragma once

#include <map>
#include <string>

namespace tapeloop::qt {

/// The texts of the bundle "KeyboardShortcuts_KeyboardShortcuts.bundle" in `dataFolder`, by key: in
/// the user's language if the bundle has it, else in English. Empty, with a word about it on
/// standard error, if the bundle can't be found or read.
std::map<std::string, std::string, std::less<>> loadRecorderTexts(const std::string& dataFolder);

}  // namespace tapeloop::qt
