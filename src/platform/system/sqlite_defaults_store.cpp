#include "platform/system/sqlite_defaults_store.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <variant>
#include <vector>

#include <sqlite3.h>

#include "platform/system/run_loop.h"

namespace tapeloop::system {
namespace {

namespace fs = std::filesystem;

// Stored in the file: a number must never change its meaning.
enum class ValueType : int { boolean = 0, integer = 1, real = 2, text = 3 };

constexpr const char* selectValue = "SELECT type, value, rowid FROM defaults WHERE key = ?1";
constexpr const char* selectVersion = "PRAGMA data_version";
constexpr const char* storeValue =
    "INSERT INTO defaults(key, type, value) VALUES(?1, ?2, ?3) "
    "ON CONFLICT(key) DO UPDATE SET type = excluded.type, value = excluded.value";

/// The sentence for the user, by whether the file can at least be read.
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

// Doubles are stored as their eight bytes: SQLite's reals keep neither NaN nor the sign of zero.
using RealBytes = std::array<char, sizeof(double)>;

/// Reads directly into the string. Reading the column of the statement would make SQLite copy the
/// text first, which may be many megabytes.
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
  // SQLITE_STATIC: the statement is destroyed before the text. An empty view may hold a null
  // pointer, which would bind NULL.
  sqlite3_bind_text64(statement, position, text.empty() ? "" : text.data(), text.size(),
                      SQLITE_STATIC, SQLITE_UTF8);
}

}  // namespace

std::optional<fs::path> defaultsStorePath() {
  fs::path folder;
  if (const char* data = std::getenv("XDG_DATA_HOME")) folder = data;
  // A relative XDG_DATA_HOME is invalid and to be ignored.
  if (!folder.is_absolute()) {
    const char* home = std::getenv("HOME");
    if (!home || !fs::path(home).is_absolute()) return std::nullopt;
    folder = fs::path(home) / ".local" / "share";
  }
  return folder / "tapeloop" / "defaults.sqlite3";
}

SqliteDefaultsStore::SqliteDefaultsStore(fs::path file, StoreDatabase database)
    : file_(std::move(file)), database_(std::move(database)) {}

SqliteDefaultsStore::~SqliteDefaultsStore() {
  database_.close();
}

SqliteDefaultsStore::Opened SqliteDefaultsStore::open(const fs::path& file) {
  StoreDatabase database = StoreDatabase::open(file);
  const StoreStatus status = database.writing();
  Opened result{nullptr, status, sentence(status, file, static_cast<bool>(database))};
  if (database) result.store.reset(new SqliteDefaultsStore(file, std::move(database)));
  return result;
}

void SqliteDefaultsStore::follow(EpollRunLoop& loop) {
  turns_ = loop.addBeforeWait([this] { return endTurn(); });
  isInTurns_ = true;
}

std::optional<DefaultsValue> SqliteDefaultsStore::objectForKey(std::string_view key) const {
  reopenIfReplaced(IfMissing::leave);
  const auto failed = failedReads_.find(key);
  const bool hasFailed = failed != failedReads_.end();
  if (hasFailed && failed->second.isOfThisTurn) return std::nullopt;
  if (!database_ && !identityOf(file_)) {
    if (hasFailed) failedReads_.erase(failed);
    return std::nullopt;
  }
  const SqliteStatement statement = database_ ? database_.prepare(selectValue) : nullptr;
  if (statement) bindText(statement.get(), 1, key);
  const int result = statement ? sqlite3_step(statement.get()) : SQLITE_ERROR;
  std::optional<DefaultsValue> value;
  if (result == SQLITE_ROW) value = readValue(database_.get(), statement.get());
  if (value || result == SQLITE_DONE) {
    if (hasFailed) {
      failedReads_.erase(failed);
      hasNews_ = true;
    }
  } else {
    StoreStatus status = database_.status();
    // A row whose value does not match its type counts as damaged.
    if (status == StoreStatus::stored) status = StoreStatus::damaged;
    failedReads_.insert_or_assign(std::string(key), FailedRead{status, isInTurns_});
  }
  return value;
}

StoreStatus SqliteDefaultsStore::statusOfRead(std::string_view key) const {
  const auto failed = failedReads_.find(key);
  return failed == failedReads_.end() ? StoreStatus::stored : failed->second.status;
}

StoreStatus SqliteDefaultsStore::setObjectForKey(const DefaultsValue& value, std::string_view key) {
  return transaction([&](const Writer& write) { write(viewOf(value), key); });
}

StoreStatus SqliteDefaultsStore::transaction(const std::function<void(const Writer& write)>& body) {
  StoreStatus status = begin();
  if (status != StoreStatus::stored) return status;
  std::vector<std::string> keys;
  body([&](const DefaultsView& value, std::string_view key) {
    if (status != StoreStatus::stored) return;
    status = write(value, key);
    keys.emplace_back(key);
  });
  // The first check keeps a file that was moved away from being changed. Only the second one makes
  // sure that the values were written to the file that has the name now.
  if (status == StoreStatus::stored) status = place();
  if (status == StoreStatus::stored) status = database_.execute("COMMIT");
  if (status == StoreStatus::stored) status = place();
  if (status != StoreStatus::stored) {
    // Some failures end the transaction themselves.
    if (database_.isInTransaction()) (void)database_.execute("ROLLBACK");
    return status;
  }
  for (const std::string& key : keys) callObservers(key);
  return status;
}

std::uint64_t SqliteDefaultsStore::foreignRevision() const {
  // Always read within a transaction, which may replace what it has read.
  if (isRevisionCurrent_ && !database_.isInTransaction()) return revision_;
  reopenIfReplaced(IfMissing::leave);
  std::uint64_t version = 0;
  const SqliteStatement statement = database_ ? database_.prepare(selectVersion) : nullptr;
  if (statement && sqlite3_step(statement.get()) == SQLITE_ROW) {
    version = static_cast<std::uint32_t>(sqlite3_column_int64(statement.get(), 0));
  }
  const std::uint64_t revision = openings_ << 32U | version;
  hasNews_ |= revision != revision_;
  revision_ = revision;
  isRevisionCurrent_ = isInTurns_;
  return revision_;
}

Subscription SqliteDefaultsStore::observe(std::string_view key, std::function<void()> callback) {
  return observers_[std::string(key)].connect(std::move(callback));
}

// Reading does not create a missing file: another program may be about to put one there. A file
// that can't be opened is tried once in each turn, not for every value.
void SqliteDefaultsStore::reopenIfReplaced(IfMissing ifMissing) const {
  if (database_.isInTransaction() || (database_ && database_.isInPlace())) return;
  const bool makes = ifMissing == IfMissing::make;
  const bool isThere = makes || identityOf(file_);
  if (!database_ && !makes && (!isThere || openingTried_)) return;
  const bool wasOpen = static_cast<bool>(database_);
  database_.close();
  database_ = isThere ? StoreDatabase::open(file_) : StoreDatabase();
  openingTried_ = isInTurns_;
  if (!wasOpen && !database_) return;
  ++openings_;
  isRevisionCurrent_ = false;
  failedReads_.clear();
}

StoreStatus SqliteDefaultsStore::place() const {
  return database_.isInPlace() ? StoreStatus::stored : StoreStatus::locked;
}

StoreStatus SqliteDefaultsStore::begin() {
  // The file may be replaced while this waits for the lock.
  constexpr int attempts = 3;
  StoreStatus status = StoreStatus::locked;
  for (int i = 0; i < attempts; ++i) {
    reopenIfReplaced(IfMissing::make);
    status = database_.writing();
    // IMMEDIATE takes the write lock now, so that no other process changes what is read after it.
    if (status == StoreStatus::stored) status = database_.execute("BEGIN IMMEDIATE");
    if (status != StoreStatus::stored) return status;
    status = place();
    if (status == StoreStatus::stored) return status;
    (void)database_.execute("ROLLBACK");
  }
  return status;
}

StoreStatus SqliteDefaultsStore::write(const DefaultsView& value, std::string_view key) {
  if (const StoreStatus read = statusOfRead(key); read != StoreStatus::stored) return read;
  const SqliteStatement statement = database_.prepare(storeValue);
  if (!statement) return database_.status();
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
  if (sqlite3_step(statement.get()) != SQLITE_DONE) return database_.status();
  return StoreStatus::stored;
}

void SqliteDefaultsStore::callObservers(std::string_view key) {
  if (const auto observers = observers_.find(key); observers != observers_.end()) {
    observers->second();
  }
}

bool SqliteDefaultsStore::endTurn() {
  isRevisionCurrent_ = false;
  openingTried_ = false;
  for (auto& [key, failed] : failedReads_) failed.isOfThisTurn = false;
  if (!std::exchange(hasNews_, false)) return false;
  foreignWrites_();
  return true;
}

}  // namespace tapeloop::system
