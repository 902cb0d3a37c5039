#include "platform/system/sqlite_defaults_store.h"

#include <cstdint>
#include <cstdlib>
#include <utility>

#include <sqlite3.h>

#include "platform/system/run_loop.h"
#include "platform/system/store_tables.h"

namespace tapeloop::system {
namespace {

namespace fs = std::filesystem;

constexpr const char* selectVersion = "PRAGMA data_version";

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

template <typename T>
std::optional<T> SqliteDefaultsStore::read(
    std::string_view key, const std::function<StoreStatus(std::optional<T>&)>& body) const {
  reopenIfReplaced(IfMissing::leave);
  const auto failed = failedReads_.find(key);
  const bool hasFailed = failed != failedReads_.end();
  if (hasFailed && failed->second.isOfThisTurn) return std::nullopt;
  if (!database_ && !identityOf(file_)) {
    if (hasFailed) failedReads_.erase(failed);
    return std::nullopt;
  }
  // One read transaction, so that several statements see the same state.
  const bool isAlone = database_ && !database_.isInTransaction();
  if (isAlone) (void)database_.execute("BEGIN");
  std::optional<T> value;
  StoreStatus status = database_.writing();
  if (database_) status = body(value);
  if (isAlone) (void)database_.execute("COMMIT");
  if (status == StoreStatus::stored) {
    if (hasFailed) {
      failedReads_.erase(failed);
      hasNews_ = true;
    }
    return value;
  }
  failedReads_.insert_or_assign(std::string(key), FailedRead{status, isInTurns_});
  return std::nullopt;
}

std::optional<DefaultsValue> SqliteDefaultsStore::objectForKey(std::string_view key) const {
  return read<DefaultsValue>(key, [&](auto& value) { return readValue(database_, key, value); });
}

std::optional<std::vector<ListElement>> SqliteDefaultsStore::elementsForKey(
    std::string_view key) const {
  return read<std::vector<ListElement>>(
      key, [&](auto& elements) { return readElements(database_, key, elements); });
}

std::optional<std::string> SqliteDefaultsStore::elementText(std::int64_t element,
                                                            std::string_view key) const {
  return read<std::string>(key,
                           [&](auto& text) { return readElementText(database_, element, text); });
}

StoreStatus SqliteDefaultsStore::statusOfRead(std::string_view key) const {
  const auto failed = failedReads_.find(key);
  return failed == failedReads_.end() ? StoreStatus::stored : failed->second.status;
}

StoreStatus SqliteDefaultsStore::transaction(const std::function<void(StoreWriter& writer)>& body) {
  StoreStatus status = begin();
  if (status != StoreStatus::stored) return status;
  TableWriter writer(database_, [this](std::string_view key) { return statusOfRead(key); });
  body(writer);
  status = writer.status();
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
  for (const std::string& key : writer.keys()) callObservers(key);
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
