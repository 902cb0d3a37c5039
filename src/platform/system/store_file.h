#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace tapeloop::system {

/// Makes what is missing of the file and of the folders on the way to it, for the owner alone, and
/// takes the rights of others from a file that is there. What goes wrong shows when the file is
/// opened.
void makePrivateFile(const std::filesystem::path& file);

/// Tells a file from every other that exists at the same time, whatever its name is.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;
  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};
/// Nothing if there is no such file, or none that can be looked at.
std::optional<FileIdentity> identityOf(const std::filesystem::path& file);

/// The name under which SQLite reads a file that nobody writes to, in a folder where it may not
/// make the files that the log mode needs. Nothing if a log was left behind: it belongs to the
/// contents.
std::optional<std::string> immutableName(const std::filesystem::path& file);

}  // namespace tapeloop::system
