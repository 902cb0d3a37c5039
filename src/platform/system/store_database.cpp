#include "platform/system/store_database.h"

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/system/handles.h"
#include "platform/system/signals.h"

namespace tapeloop::system {
namespace {

namespace fs = std::filesystem;

using Handle = std::unique_ptr<sqlite3, SqliteClose>;

constexpr int busyMilliseconds = 2000;

// In WAL mode with synchronous=FULL a write is durable after one sync; with a rollback journal it
// takes four. Playback in short cycles writes the run count after each run. A value of many
// megabytes is written twice in either mode. The size limit shrinks the log after such a value.
constexpr const char* writingSettings =
    "PRAGMA journal_mode=WAL;"
    "PRAGMA synchronous=FULL;"
    "PRAGMA journal_size_limit=4194304;"
    "CREATE TABLE IF NOT EXISTS defaults("
    "key TEXT PRIMARY KEY NOT NULL, type INTEGER NOT NULL, value NOT NULL)";
// The version of the file's format: 0, or 1 once it has held a list. Later versions of the program
// raise it if this one would misread or damage their files.
constexpr int knownFormat = 1;
constexpr const char* selectFormat = "PRAGMA user_version";
// Fails to compile if the table is not that of a store.
constexpr const char* selectColumns = "SELECT key, type, value FROM defaults";

void syncFolder(const fs::path& folder) {
  const FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (descriptor) ::fsync(descriptor.get());
}

/// Creates the file and its folders if they are missing, accessible to the owner only. Removes
/// group and other permissions from an existing file. Errors show when it is opened.
void makePrivateFile(const fs::path& file) {
  const fs::path folder = file.parent_path();
  fs::path made;
  for (const fs::path& part : folder) {
    const fs::path parent = made;
    made /= part;
    if (::mkdir(made.c_str(), S_IRWXU) == 0) syncFolder(parent.empty() ? "." : parent);
  }
  // SQLite creates the log and its index with the mode of the file.
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

/// A name with which SQLite opens a file read-only in a folder where it can't create the log and
/// its index. Nothing if there is a log with contents, which would be ignored.
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

StoreStatus statusOfSystemError(int error) {
  switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return StoreStatus::diskFull;
    case EROFS:
    case EACCES:
    case EPERM:
      return StoreStatus::readOnly;
    default:
      return StoreStatus::unavailable;
  }
}

/// SQLite does not always report the system error of a write to the log; it is then asked of the
/// log.
int systemError(sqlite3* database) {
  int error = sqlite3_system_errno(database);
  sqlite3_file* log = nullptr;
  if (error == 0) sqlite3_file_control(database, "main", SQLITE_FCNTL_JOURNAL_POINTER, &log);
  if (log && log->pMethods) log->pMethods->xFileControl(log, SQLITE_FCNTL_LAST_ERRNO, &error);
  return error;
}

StoreStatus statusOf(sqlite3* database) {
  switch (sqlite3_errcode(database)) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return StoreStatus::stored;
    case SQLITE_READONLY:
    case SQLITE_PERM:
      return StoreStatus::readOnly;
    case SQLITE_FULL:
    case SQLITE_TOOBIG:
      return StoreStatus::diskFull;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return StoreStatus::locked;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return StoreStatus::damaged;
    case SQLITE_CANTOPEN:
    case SQLITE_IOERR:
      return statusOfSystemError(systemError(database));
    default:
      return StoreStatus::unavailable;
  }
}

SqliteStatement prepareOn(sqlite3* database, std::string_view statement) {
  sqlite3_stmt* prepared = nullptr;
  sqlite3_prepare_v2(database, statement.data(), static_cast<int>(statement.size()), &prepared,
                     nullptr);
  return SqliteStatement(prepared);
}

/// Returns a handle even on failure; ask it for the error.
Handle openNamed(const std::string& name, int flags) {
  sqlite3* database = nullptr;
  sqlite3_open_v2(name.c_str(), &database, flags, nullptr);
  sqlite3_busy_timeout(database, busyMilliseconds);
  return Handle(database);
}

StoreStatus check(sqlite3* database) {
  if (!database) return StoreStatus::unavailable;
  if (const StoreStatus status = statusOf(database); status != StoreStatus::stored) return status;
  // Finds damage before anything is written. Values are not read: they may be long, and that would
  // delay the start of the program.
  SqliteStatement statement = prepareOn(database, "SELECT count(*) FROM sqlite_schema");
  if (!statement || sqlite3_step(statement.get()) != SQLITE_ROW) return statusOf(database);
  statement = prepareOn(database, selectFormat);
  if (!statement || sqlite3_step(statement.get()) != SQLITE_ROW) return statusOf(database);
  if (sqlite3_column_int(statement.get(), 0) > knownFormat) return StoreStatus::newer;
  statement = prepareOn(database, "SELECT type FROM defaults NOT INDEXED");
  if (!statement) return StoreStatus::stored;  // a new file has no rows
  int result = SQLITE_ROW;
  while (result == SQLITE_ROW) result = sqlite3_step(statement.get());
  return result == SQLITE_DONE ? StoreStatus::stored : statusOf(database);
}

StoreStatus prepareForWriting(sqlite3* database) {
  if (sqlite3_db_readonly(database, "main") == 1) return StoreStatus::readOnly;
  sqlite3_exec(database, writingSettings, nullptr, nullptr, nullptr);
  if (const StoreStatus status = statusOf(database); status != StoreStatus::stored) return status;
  // An intact database with a different table of this name belongs to another program.
  if (prepareOn(database, selectColumns)) return StoreStatus::stored;
  return sqlite3_errcode(database) == SQLITE_ERROR ? StoreStatus::damaged : statusOf(database);
}

/// Null if the file can't even be read.
Handle openForReading(const fs::path& file) {
  const auto isReadable = [](const Handle& candidate) {
    return check(candidate.get()) == StoreStatus::stored &&
           prepareOn(candidate.get(), selectColumns) != nullptr;
  };
  Handle database = openNamed(file.string(), SQLITE_OPEN_READONLY);
  if (isReadable(database)) return database;
  const auto name = immutableName(file);
  database = name ? openNamed(*name, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI) : nullptr;
  return database && isReadable(database) ? std::move(database) : nullptr;
}

}  // namespace

std::optional<FileIdentity> identityOf(const fs::path& file) {
  struct stat status {};
  if (::stat(file.c_str(), &status) != 0) return std::nullopt;
  return FileIdentity{status.st_dev, status.st_ino};
}

void SqliteClose::operator()(sqlite3* database) const {
  sqlite3_close(database);
}
void SqliteClose::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

StoreDatabase StoreDatabase::open(const fs::path& file) {
  surviveFailedWrites();
  makePrivateFile(file);
  StoreDatabase opened;
  opened.file_ = file;
  // Read before the file is opened: if it is replaced in between, `isInPlace` is false and the new
  // one is opened next time. Read afterwards, the identity would be that of a file not opened.
  opened.identity_ = identityOf(file);
  opened.database_ = openNamed(file.string(), SQLITE_OPEN_READWRITE);
  opened.writing_ = check(opened.get());
  if (opened.writing_ == StoreStatus::stored) opened.writing_ = prepareForWriting(opened.get());
  if (opened.writing_ == StoreStatus::stored) {
    for (std::size_t i = 0; i < companions.size(); ++i) {
      opened.companionIdentities_[i] = identityOf(file.string() + companions[i]);
    }
    return opened;
  }
  // Not even opened read-only then: what is read may be wrong, or change at any moment.
  const bool isUseless = opened.writing_ == StoreStatus::damaged ||
                         opened.writing_ == StoreStatus::locked ||
                         opened.writing_ == StoreStatus::newer;
  opened.database_.reset();
  if (!isUseless) opened.database_ = openForReading(file);
  return opened;
}

void StoreDatabase::close() {
  const bool isReplaced = database_ && writing_ == StoreStatus::stored && !isInPlace();
  // Moves the log's contents into the old file, which may have been renamed. SQLite does so on
  // closing only if the file still has its name.
  if (isReplaced) {
    sqlite3_wal_checkpoint_v2(get(), "main", SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  }
  database_.reset();
  if (!isReplaced) return;
  // SQLite would use them for the new file. Those that were put there with the new file stay.
  for (std::size_t i = 0; i < companions.size(); ++i) {
    const std::string name = file_.string() + companions[i];
    if (companionIdentities_[i] && identityOf(name) == companionIdentities_[i]) {
      ::unlink(name.c_str());
    }
  }
}

bool StoreDatabase::isInPlace() const {
  return identity_ && identityOf(file_) == identity_;
}

SqliteStatement StoreDatabase::prepare(std::string_view statement) const {
  return prepareOn(get(), statement);
}

StoreStatus StoreDatabase::execute(const char* statement) const {
  sqlite3_exec(get(), statement, nullptr, nullptr, nullptr);
  return status();
}

StoreStatus StoreDatabase::status() const {
  return database_ ? statusOf(get()) : writing_;
}

bool StoreDatabase::isInTransaction() const {
  return database_ && sqlite3_get_autocommit(get()) == 0;
}

}  // namespace tapeloop::system
