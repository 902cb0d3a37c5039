#include "platform/linux/sqlite_defaults_store.h"

#include <array>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <variant>
#include <vector>

#include <sqlite3.h>

#include "platform/linux/signals.h"
#include "platform/linux/store_file.h"

namespace tapeloop::linux {
namespace {

namespace fs = std::filesystem;

constexpr int busyMilliseconds = 2000;

// Kept in the file, so that a number never changes its meaning.
enum class ValueType : int { boolean = 0, integer = 1, real = 2, text = 3 };

// WAL with FULL: a write is durable after one sync of the log, where a rollback journal takes four.
// That counts while something plays in short cycles, since each run writes its number. A value of
// many megabytes costs the same both ways: once into the log and once into the file. The limit
// gives the log's space back after such a one.
constexpr const char* writingSettings =
    "PRAGMA journal_mode=WAL;"
    "PRAGMA synchronous=FULL;"
    "PRAGMA journal_size_limit=4194304;"
    "CREATE TABLE IF NOT EXISTS defaults("
    "key TEXT PRIMARY KEY NOT NULL, type INTEGER NOT NULL, value NOT NULL)";
// The number of the file's form, which SQLite keeps for its users. A form that this program could
// misread, or spoil by writing, has a higher one.
constexpr int knownForm = 0;
constexpr const char* selectForm = "PRAGMA user_version";
constexpr const char* selectValue = "SELECT type, value, rowid FROM defaults WHERE key = ?1";
constexpr const char* storeValue =
    "INSERT INTO defaults(key, type, value) VALUES(?1, ?2, ?3) "
    "ON CONFLICT(key) DO UPDATE SET type = excluded.type, value = excluded.value";

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

/// SQLite does not always hand on what the system said of a write into the log.
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

/// Why the file can't be written or, if there is nothing to read from either, can't be opened.
std::string sentence(StoreStatus status, const fs::path& file, bool isReadable) {
  const std::string name = file.string();
  const std::string lost = isReadable ? "Settings and recordings can't be saved"
                                      : "Settings and recordings can't be read or saved";
  switch (status) {
    case StoreStatus::stored:
      return {};
    case StoreStatus::readOnly:
      return lost + ": there is no permission to " + (isReadable ? "write " : "open ") + name + ".";
    case StoreStatus::diskFull:
      return lost + " until there is room for " + name + " and Tapeloop is started again.";
    case StoreStatus::locked:
      return lost + ": another program holds " + name + ".";
    case StoreStatus::damaged:
      return lost + ": " + name + " is damaged.";
    case StoreStatus::newer:
      return lost + ": " + name + " was written by a newer version of Tapeloop.";
    case StoreStatus::unavailable:
      break;
  }
  return lost + ": " + name + (isReadable ? " can't be written." : " can't be opened.");
}

// Doubles as their eight bytes: SQLite's own reals know neither NaN nor the sign of zero.
using RealBytes = std::array<char, sizeof(double)>;

/// Straight into its string. The row that the statement stands on would take a copy of its own
/// first, which counts with a text of many megabytes.
std::optional<std::string> readText(sqlite3* database, sqlite3_int64 rowid) {
  sqlite3_blob* opened = nullptr;
  const int result = sqlite3_blob_open(database, "main", "defaults", "value", rowid, 0, &opened);
  const std::unique_ptr<sqlite3_blob, decltype(&sqlite3_blob_close)> blob(opened,
                                                                          sqlite3_blob_close);
  if (result != SQLITE_OK) return std::nullopt;
  std::string text(static_cast<std::size_t>(sqlite3_blob_bytes(opened)), '\0');
  const int size = static_cast<int>(text.size());
  if (sqlite3_blob_read(opened, text.data(), size, 0) != SQLITE_OK) return std::nullopt;
  return text;
}

std::optional<DefaultsValue> readValue(sqlite3* database, sqlite3_stmt* row) {
  const int storage = sqlite3_column_type(row, 1);
  const auto type = static_cast<ValueType>(sqlite3_column_int(row, 0));
  if (type == ValueType::boolean && storage == SQLITE_INTEGER) {
    return sqlite3_column_int64(row, 1) != 0;
  }
  if (type == ValueType::integer && storage == SQLITE_INTEGER) {
    return std::int64_t{sqlite3_column_int64(row, 1)};
  }
  if (type == ValueType::text && storage == SQLITE_TEXT) {
    return readText(database, sqlite3_column_int64(row, 2));
  }
  RealBytes bytes;
  if (type == ValueType::real && storage == SQLITE_BLOB &&
      sqlite3_column_bytes(row, 1) == static_cast<int>(bytes.size())) {
    std::memcpy(bytes.data(), sqlite3_column_blob(row, 1), bytes.size());
    return std::bit_cast<double>(bytes);
  }
  return std::nullopt;
}

void bindText(sqlite3_stmt* statement, int position, std::string_view text) {
  // The caller's bytes outlive the statement. An empty view may hold a null pointer, which would
  // bind NULL.
  sqlite3_bind_text64(statement, position, text.empty() ? "" : text.data(), text.size(),
                      SQLITE_STATIC, SQLITE_UTF8);
}

}  // namespace

std::optional<fs::path> defaultsStorePath() {
  fs::path folder;
  if (const char* data = std::getenv("XDG_DATA_HOME")) folder = data;
  // A relative one is to be ignored.
  if (!folder.is_absolute()) {
    const char* home = std::getenv("HOME");
    if (!home || !fs::path(home).is_absolute()) return std::nullopt;
    folder = fs::path(home) / ".local" / "share";
  }
  return folder / "tapeloop" / "defaults.sqlite3";
}

void SqliteDefaultsStore::Close::operator()(sqlite3* database) const {
  sqlite3_close(database);
}
void SqliteDefaultsStore::Close::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

SqliteDefaultsStore::SqliteDefaultsStore(Database database, StoreStatus writing)
    : database_(std::move(database)), writing_(writing) {}
SqliteDefaultsStore::~SqliteDefaultsStore() = default;

SqliteDefaultsStore::Opened SqliteDefaultsStore::open(const fs::path& file) {
  const auto opened = [&file](Database database, StoreStatus status) {
    Opened result{nullptr, status, sentence(status, file, database != nullptr)};
    if (database) result.store.reset(new SqliteDefaultsStore(std::move(database), status));
    return result;
  };
  surviveFailedWrites();
  makePrivateFile(file);
  Database database = openDatabase(file.string(), SQLITE_OPEN_READWRITE);
  StoreStatus status = check(database.get());
  if (status == StoreStatus::stored) status = prepareForWriting(database.get());
  if (status == StoreStatus::stored) return opened(std::move(database), status);
  // For these reading is no help: what can be read may be wrong, or about to change.
  if (status == StoreStatus::damaged || status == StoreStatus::locked ||
      status == StoreStatus::newer) {
    return opened(nullptr, status);
  }
  const auto readable = [](const Database& candidate) {
    return check(candidate.get()) == StoreStatus::stored &&
           prepare(candidate.get(), selectValue) != nullptr;
  };
  database = openDatabase(file.string(), SQLITE_OPEN_READONLY);
  if (!readable(database)) {
    const auto name = immutableName(file);
    database = name ? openDatabase(*name, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI) : nullptr;
  }
  if (!database || !readable(database)) return opened(nullptr, status);
  return opened(std::move(database), status);
}

SqliteDefaultsStore::Database SqliteDefaultsStore::openDatabase(const std::string& name,
                                                                int flags) {
  sqlite3* database = nullptr;
  sqlite3_open_v2(name.c_str(), &database, flags, nullptr);
  sqlite3_busy_timeout(database, busyMilliseconds);
  return Database(database);
}

StoreStatus SqliteDefaultsStore::check(sqlite3* database) {
  if (!database) return StoreStatus::unavailable;
  if (const StoreStatus status = statusOf(database); status != StoreStatus::stored) return status;
  // Damage is better found now than by a write into the middle of it. Every row is looked at, but
  // not what is in it: that may be long, and the program is to be there at once.
  Statement statement = prepare(database, "SELECT count(*) FROM sqlite_schema");
  if (!statement || sqlite3_step(statement.get()) != SQLITE_ROW) return statusOf(database);
  statement = prepare(database, selectForm);
  if (!statement || sqlite3_step(statement.get()) != SQLITE_ROW) return statusOf(database);
  if (sqlite3_column_int(statement.get(), 0) > knownForm) return StoreStatus::newer;
  statement = prepare(database, "SELECT type FROM defaults NOT INDEXED");
  if (!statement) return StoreStatus::stored;  // a new file has no rows
  int result = SQLITE_ROW;
  while (result == SQLITE_ROW) result = sqlite3_step(statement.get());
  return result == SQLITE_DONE ? StoreStatus::stored : statusOf(database);
}

StoreStatus SqliteDefaultsStore::prepareForWriting(sqlite3* database) {
  if (sqlite3_db_readonly(database, "main") == 1) return StoreStatus::readOnly;
  sqlite3_exec(database, writingSettings, nullptr, nullptr, nullptr);
  if (const StoreStatus status = statusOf(database); status != StoreStatus::stored) return status;
  // A sound file with another table under this name is somebody else's.
  if (prepare(database, storeValue)) return StoreStatus::stored;
  return sqlite3_errcode(database) == SQLITE_ERROR ? StoreStatus::damaged : statusOf(database);
}

SqliteDefaultsStore::Statement SqliteDefaultsStore::prepare(sqlite3* database,
                                                            std::string_view statement) {
  sqlite3_stmt* prepared = nullptr;
  sqlite3_prepare_v2(database, statement.data(), static_cast<int>(statement.size()), &prepared,
                     nullptr);
  return Statement(prepared);
}

std::optional<DefaultsValue> SqliteDefaultsStore::objectForKey(std::string_view key) const {
  const Statement statement = prepare(database_.get(), selectValue);
  if (statement) bindText(statement.get(), 1, key);
  const int result = statement ? sqlite3_step(statement.get()) : SQLITE_ERROR;
  std::optional<DefaultsValue> value;
  if (result == SQLITE_ROW) value = readValue(database_.get(), statement.get());
  if (value || result == SQLITE_DONE) {
    if (const auto failed = failedReads_.find(key); failed != failedReads_.end()) {
      failedReads_.erase(failed);
    }
  } else {
    StoreStatus status = statusOf(database_.get());
    // A row that holds something else than its type says is damage too.
    if (status == StoreStatus::stored) status = StoreStatus::damaged;
    failedReads_.insert_or_assign(std::string(key), status);
  }
  return value;
}

StoreStatus SqliteDefaultsStore::setObjectForKey(const DefaultsValue& value, std::string_view key) {
  const StoreStatus status = write(viewOf(value), key);
  if (status == StoreStatus::stored) tellObservers(key);
  return status;
}

StoreStatus SqliteDefaultsStore::transaction(const std::function<void(const Writer& write)>& body) {
  // Immediate: the right to write comes first, so that nothing that is read can change any more.
  StoreStatus status = writing_;
  if (status == StoreStatus::stored) status = execute("BEGIN IMMEDIATE");
  if (status != StoreStatus::stored) return status;
  std::vector<std::string> keys;
  body([&](const DefaultsView& value, std::string_view key) {
    if (status != StoreStatus::stored) return;
    status = write(value, key);
    keys.emplace_back(key);
  });
  if (status == StoreStatus::stored) status = execute("COMMIT");
  if (status != StoreStatus::stored) {
    // Some failures have ended the transaction already.
    if (sqlite3_get_autocommit(database_.get()) == 0) (void)execute("ROLLBACK");
    return status;
  }
  for (const std::string& key : keys) tellObservers(key);
  return status;
}

std::uint64_t SqliteDefaultsStore::foreignRevision() const {
  const Statement statement = prepare(database_.get(), "PRAGMA data_version");
  if (!statement || sqlite3_step(statement.get()) != SQLITE_ROW) return 0;
  return static_cast<std::uint64_t>(sqlite3_column_int64(statement.get(), 0));
}

StoreStatus SqliteDefaultsStore::execute(const char* statement) {
  sqlite3_exec(database_.get(), statement, nullptr, nullptr, nullptr);
  return statusOf(database_.get());
}

StoreStatus SqliteDefaultsStore::write(const DefaultsView& value, std::string_view key) {
  if (writing_ != StoreStatus::stored) return writing_;
  if (const auto failed = failedReads_.find(key); failed != failedReads_.end()) {
    return failed->second;
  }
  const Statement statement = prepare(database_.get(), storeValue);
  if (!statement) return statusOf(database_.get());
  bindText(statement.get(), 1, key);
  RealBytes bytes;
  const auto bindType = [&statement](ValueType type) {
    sqlite3_bind_int(statement.get(), 2, static_cast<int>(type));
  };
  if (const auto* boolean = std::get_if<bool>(&value)) {
    bindType(ValueType::boolean);
    sqlite3_bind_int(statement.get(), 3, *boolean ? 1 : 0);
  } else if (const auto* integer = std::get_if<std::int64_t>(&value)) {
    bindType(ValueType::integer);
    sqlite3_bind_int64(statement.get(), 3, *integer);
  } else if (const auto* real = std::get_if<double>(&value)) {
    bindType(ValueType::real);
    bytes = std::bit_cast<RealBytes>(*real);
    sqlite3_bind_blob(statement.get(), 3, bytes.data(), static_cast<int>(bytes.size()),
                      SQLITE_STATIC);
  } else {
    bindType(ValueType::text);
    bindText(statement.get(), 3, std::get<std::string_view>(value));
  }
  if (sqlite3_step(statement.get()) != SQLITE_DONE) return statusOf(database_.get());
  return StoreStatus::stored;
}

void SqliteDefaultsStore::tellObservers(std::string_view key) {
  if (const auto observers = observers_.find(key); observers != observers_.end()) {
    observers->second();
  }
}

Subscription SqliteDefaultsStore::observe(std::string_view key, std::function<void()> callback) {
  return observers_[std::string(key)].connect(std::move(callback));
}

}  // namespace tapeloop::linux
