#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace tapeloop::linux {

/// Makes what is missing of the file and of the folders on the way to it, for the owner alone, and
/// takes the rights of others from a file that is there. What goes wrong shows when the file is
/// opened.
void makePrivateFile(const std::filesystem::path& file);

/// The name under which SQLite reads a file that nobody writes to, in a folder where it may not
/// make the files that the log mode needs. Nothing if a log was left behind: it belongs to the
/// contents.
std::optional<std::string> immutableName(const std::filesystem::path& file);

}  // namespace tapeloop::linux
