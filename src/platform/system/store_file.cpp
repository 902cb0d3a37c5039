#include "platform/system/store_file.h"

#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/system/file_descriptor.h"

namespace tapeloop::system {
namespace {

namespace fs = std::filesystem;

void syncFolder(const fs::path& folder) {
  const FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (descriptor) ::fsync(descriptor.get());
}

}  // namespace

void makePrivateFile(const fs::path& file) {
  const fs::path folder = file.parent_path();
  fs::path made;
  for (const fs::path& part : folder) {
    const fs::path parent = made;
    made /= part;
    if (::mkdir(made.c_str(), S_IRWXU) == 0) syncFolder(parent.empty() ? "." : parent);
  }
  // SQLite gives its log and its index the mode of the file.
  const FileDescriptor created(
      ::open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (created) {
    syncFolder(folder.empty() ? "." : folder);
    return;
  }
  struct stat status {};
  const bool isFile = ::stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode);
  if (isFile && (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    ::chmod(file.c_str(), status.st_mode & S_IRWXU);
  }
}

std::optional<FileIdentity> identityOf(const fs::path& file) {
  struct stat status {};
  if (::stat(file.c_str(), &status) != 0) return std::nullopt;
  return FileIdentity{status.st_dev, status.st_ino};
}

std::optional<std::string> immutableName(const fs::path& file) {
  std::error_code error;
  const auto logSize = fs::file_size(file.string() + "-wal", error);
  if (!error && logSize > 0) return std::nullopt;
  std::string name = "file:";
  for (const char c : file.string()) {
    switch (c) {
      case '%':
        name += "%25";
        break;
      case '?':
        name += "%3f";
        break;
      case '#':
        name += "%23";
        break;
      default:
        name += c;
    }
  }
  return name + "?immutable=1";
}

}  // namespace tapeloop::system
