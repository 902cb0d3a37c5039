#include "platform/system/store_tables.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <utility>
#include <variant>

#include <sqlite3.h>

namespace tapeloop::system {
namespace {

// Stored in the file: a number must never change its meaning.
enum class ValueType : int { boolean = 0, integer = 1, real = 2, text = 3, list = 4 };

constexpr const char* selectValue = "SELECT type, value, rowid FROM defaults WHERE key = ?1";
constexpr const char* storeValue =
    "INSERT INTO defaults(key, type, value) VALUES(?1, ?2, ?3) "
    "ON CONFLICT(key) DO UPDATE SET type = excluded.type, value = excluded.value";

// The elements of lists. The text after the head is split into parts, since SQLite limits a value
// to a gigabyte. The version of the format keeps programs that don't know these tables from opening
// the file.
constexpr const char* makeListTables =
    "CREATE TABLE IF NOT EXISTS elements("
    "id INTEGER PRIMARY KEY, key TEXT NOT NULL, head TEXT NOT NULL);"
    "CREATE TABLE IF NOT EXISTS parts("
    "id INTEGER PRIMARY KEY, element INTEGER NOT NULL, text TEXT NOT NULL);"
    "CREATE INDEX IF NOT EXISTS parts_of_elements ON parts(element);"
    "PRAGMA user_version = 1";
constexpr const char* selectHeads = "SELECT id, head FROM elements WHERE key = ?1 ORDER BY id";
constexpr const char* selectHead = "SELECT head FROM elements WHERE id = ?1";
constexpr const char* selectParts = "SELECT id FROM parts WHERE element = ?1 ORDER BY id";
constexpr std::size_t longestPart = std::size_t{16} << 20;

// Doubles are stored as their eight bytes: SQLite's reals keep neither NaN nor the sign of zero.
using RealBytes = std::array<char, sizeof(double)>;

void bind(sqlite3_stmt* statement, int position, std::string_view text) {
  // SQLITE_STATIC: the statement is destroyed before the text. An empty view may hold a null
  // pointer, which would bind NULL.
  sqlite3_bind_text64(statement, position, text.empty() ? "" : text.data(), text.size(),
                      SQLITE_STATIC, SQLITE_UTF8);
}
void bind(sqlite3_stmt* statement, int position, std::int64_t number) {
  sqlite3_bind_int64(statement, position, number);
}
void bind(sqlite3_stmt* statement, int position, ValueType type) {
  sqlite3_bind_int(statement, position, static_cast<int>(type));
}
void bind(sqlite3_stmt* statement, int position, const RealBytes& bytes) {
  sqlite3_bind_blob(statement, position, bytes.data(), static_cast<int>(bytes.size()),
                    SQLITE_STATIC);
}

std::string columnText(sqlite3_stmt* row, int column) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
  return {text ? text : "", static_cast<std::size_t>(sqlite3_column_bytes(row, column))};
}

/// A text in a row, read directly into a string. Reading the column of a statement would make
/// SQLite copy the text first, which may be many megabytes.
class LongText {
 public:
  LongText(sqlite3* database, const char* table, const char* column, sqlite3_int64 rowid)
      : blob_(nullptr, sqlite3_blob_close) {
    sqlite3_blob* opened = nullptr;
    const int result = sqlite3_blob_open(database, "main", table, column, rowid, 0, &opened);
    blob_.reset(opened);
    isOpen_ = result == SQLITE_OK;
  }

  [[nodiscard]] std::size_t size() const {
    return isOpen_ ? static_cast<std::size_t>(sqlite3_blob_bytes(blob_.get())) : 0;
  }
  /// False if it can't be read.
  [[nodiscard]] bool appendTo(std::string& text) const {
    if (!isOpen_) return false;
    const std::size_t before = text.size();
    text.resize(before + size());
    return sqlite3_blob_read(blob_.get(), text.data() + before, static_cast<int>(size()), 0) ==
           SQLITE_OK;
  }

 private:
  std::unique_ptr<sqlite3_blob, decltype(&sqlite3_blob_close)> blob_;
  bool isOpen_ = false;
};

// A row whose value does not match its type counts as damaged; to SQLite that is no error.
StoreStatus failureOf(const StoreDatabase& database) {
  const StoreStatus status = database.status();
  return status == StoreStatus::stored ? StoreStatus::damaged : status;
}

/// Of a row of `selectValue`.
std::optional<DefaultsValue> valueIn(sqlite3* database, sqlite3_stmt* row) {
  const int storage = sqlite3_column_type(row, 1);
  const auto type = static_cast<ValueType>(sqlite3_column_int(row, 0));
  if (type == ValueType::boolean && storage == SQLITE_INTEGER) {
    return sqlite3_column_int64(row, 1) != 0;
  }
  if (type == ValueType::integer && storage == SQLITE_INTEGER) {
    return std::int64_t{sqlite3_column_int64(row, 1)};
  }
  if (type == ValueType::text && storage == SQLITE_TEXT) {
    std::string text;
    const LongText stored(database, "defaults", "value", sqlite3_column_int64(row, 2));
    if (!stored.appendTo(text)) return std::nullopt;
    return text;
  }
  RealBytes bytes;
  if (type == ValueType::real && storage == SQLITE_BLOB &&
      sqlite3_column_bytes(row, 1) == static_cast<int>(bytes.size())) {
    std::memcpy(bytes.data(), sqlite3_column_blob(row, 1), bytes.size());
    return std::bit_cast<double>(bytes);
  }
  return std::nullopt;
}

bool isList(sqlite3_stmt* row) {
  return sqlite3_column_int(row, 0) == static_cast<int>(ValueType::list);
}

std::optional<std::vector<ListElement>> headsOf(const StoreDatabase& database,
                                                std::string_view key) {
  const SqliteStatement statement = database.prepare(selectHeads);
  if (!statement) return std::nullopt;
  bind(statement.get(), 1, key);
  std::vector<ListElement> elements;
  int result = SQLITE_ROW;
  while ((result = sqlite3_step(statement.get())) == SQLITE_ROW) {
    elements.push_back({sqlite3_column_int64(statement.get(), 0), columnText(statement.get(), 1)});
  }
  if (result != SQLITE_DONE) return std::nullopt;
  return elements;
}

/// Appends the text after the head. False if it can't be read.
bool appendParts(const StoreDatabase& database, std::int64_t element, std::string& text) {
  const SqliteStatement statement = database.prepare(selectParts);
  if (!statement) return false;
  bind(statement.get(), 1, element);
  std::vector<LongText> parts;
  std::size_t size = text.size();
  int result = SQLITE_ROW;
  while ((result = sqlite3_step(statement.get())) == SQLITE_ROW) {
    parts.emplace_back(database.get(), "parts", "text", sqlite3_column_int64(statement.get(), 0));
    size += parts.back().size();
  }
  // Exact for one element; doubled while the text of a whole list grows.
  if (size > text.capacity()) text.reserve(std::max(size, 2 * text.size()));
  return result == SQLITE_DONE &&
         std::ranges::all_of(parts, [&text](const LongText& part) { return part.appendTo(text); });
}

std::optional<std::string> textOfList(const StoreDatabase& database, std::string_view key) {
  const auto elements = headsOf(database, key);
  if (!elements) return std::nullopt;
  std::string text = "[";
  for (const ListElement& element : *elements) {
    if (text.size() > 1) text += ',';
    text += element.head;
    if (!appendParts(database, element.id, text)) return std::nullopt;
  }
  return text += ']';
}

}  // namespace

StoreStatus readValue(const StoreDatabase& database, std::string_view key,
                      std::optional<DefaultsValue>& value) {
  const SqliteStatement statement = database.prepare(selectValue);
  if (!statement) return failureOf(database);
  bind(statement.get(), 1, key);
  const int result = sqlite3_step(statement.get());
  if (result == SQLITE_DONE) return StoreStatus::stored;
  if (result != SQLITE_ROW) return failureOf(database);
  if (isList(statement.get())) {
    value = textOfList(database, key);
  } else {
    value = valueIn(database.get(), statement.get());
  }
  return value ? StoreStatus::stored : failureOf(database);
}

StoreStatus readElements(const StoreDatabase& database, std::string_view key,
                         std::optional<std::vector<ListElement>>& elements) {
  const SqliteStatement statement = database.prepare(selectValue);
  if (!statement) return failureOf(database);
  bind(statement.get(), 1, key);
  const int result = sqlite3_step(statement.get());
  if (result == SQLITE_ROW && isList(statement.get())) {
    elements = headsOf(database, key);
    return elements ? StoreStatus::stored : failureOf(database);
  }
  return result == SQLITE_ROW || result == SQLITE_DONE ? StoreStatus::stored : failureOf(database);
}

StoreStatus readElementText(const StoreDatabase& database, std::int64_t element,
                            std::optional<std::string>& text) {
  const SqliteStatement statement = database.prepare(selectHead);
  if (!statement) return failureOf(database);
  bind(statement.get(), 1, element);
  const int result = sqlite3_step(statement.get());
  if (result == SQLITE_DONE) return StoreStatus::stored;
  if (result != SQLITE_ROW) return failureOf(database);
  std::string found = columnText(statement.get(), 0);
  if (!appendParts(database, element, found)) return failureOf(database);
  text = std::move(found);
  return StoreStatus::stored;
}

TableWriter::TableWriter(const StoreDatabase& database,
                         std::function<StoreStatus(std::string_view)> admit)
    : database_(database), admit_(std::move(admit)) {}

void TableWriter::set(const DefaultsView& value, std::string_view key) {
  if (!begin(key)) return;
  removeElements(key);
  if (const auto* boolean = std::get_if<bool>(&value)) {
    run(storeValue, key, ValueType::boolean, std::int64_t{*boolean});
  } else if (const auto* integer = std::get_if<std::int64_t>(&value)) {
    run(storeValue, key, ValueType::integer, *integer);
  } else if (const auto* real = std::get_if<double>(&value)) {
    run(storeValue, key, ValueType::real, std::bit_cast<RealBytes>(*real));
  } else {
    run(storeValue, key, ValueType::text, std::get<std::string_view>(value));
  }
}

void TableWriter::setEmptyList(std::string_view key) {
  if (!begin(key)) return;
  status_ = database_.execute(makeListTables);
  removeElements(key);
  run(storeValue, key, ValueType::list, std::int64_t{0});
}

std::int64_t TableWriter::append(std::string_view head, std::string_view rest,
                                 std::string_view key) {
  if (!begin(key)) return 0;
  run("INSERT INTO elements(key, head) VALUES(?1, ?2)", key, head);
  const auto element = std::int64_t{sqlite3_last_insert_rowid(database_.get())};
  for (; !rest.empty(); rest.remove_prefix(std::min(longestPart, rest.size()))) {
    run("INSERT INTO parts(element, text) VALUES(?1, ?2)", element, rest.substr(0, longestPart));
  }
  return status_ == StoreStatus::stored ? element : 0;
}

void TableWriter::setHead(std::int64_t element, std::string_view head, std::string_view key) {
  if (begin(key)) run("UPDATE elements SET head = ?2 WHERE id = ?1", element, head);
}

void TableWriter::remove(std::int64_t element, std::string_view key) {
  if (!begin(key)) return;
  run("DELETE FROM parts WHERE element = ?1", element);
  run("DELETE FROM elements WHERE id = ?1", element);
}

bool TableWriter::begin(std::string_view key) {
  if (status_ == StoreStatus::stored) status_ = admit_(key);
  if (status_ != StoreStatus::stored) return false;
  keys_.emplace(key);
  return true;
}

void TableWriter::removeElements(std::string_view key) {
  // The tables are missing until the first list is stored.
  if (!database_.prepare(selectHeads)) return;
  run("DELETE FROM parts WHERE element IN (SELECT id FROM elements WHERE key = ?1)", key);
  run("DELETE FROM elements WHERE key = ?1", key);
}

template <typename... Arguments>
void TableWriter::run(const char* sql, const Arguments&... arguments) {
  if (status_ != StoreStatus::stored) return;
  const SqliteStatement statement = database_.prepare(sql);
  int position = 0;
  if (statement) (bind(statement.get(), ++position, arguments), ...);
  if (!statement || sqlite3_step(statement.get()) != SQLITE_DONE) status_ = failureOf(database_);
}

}  // namespace tapeloop::system
