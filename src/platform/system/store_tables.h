#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/defaults_store.h"
#include "platform/system/store_database.h"

struct sqlite3_stmt;

namespace tapeloop::system {

// What is in the tables of a store. `database` can be read. These leave their last argument empty
// if there is no such thing, or if they don't return `stored`.

[[nodiscard]] StoreStatus readValue(const StoreDatabase& database, std::string_view key,
                                    std::optional<DefaultsValue>& value);
/// `elements` stays empty, too, if the value is no list.
[[nodiscard]] StoreStatus readElements(const StoreDatabase& database, std::string_view key,
                                       std::optional<std::vector<ListElement>>& elements);
[[nodiscard]] StoreStatus readElementText(const StoreDatabase& database, std::int64_t element,
                                          std::optional<std::string>& text);

/// Writes to the tables, within a transaction that is already open.
class TableWriter final : public StoreWriter {
 public:
  /// `admit` is called before each write to a key. A status other than `stored` makes it fail.
  TableWriter(const StoreDatabase& database, std::function<StoreStatus(std::string_view)> admit);

  /// Of the write that failed, or `stored`.
  [[nodiscard]] StoreStatus status() const { return status_; }
  /// The keys that were written.
  [[nodiscard]] const std::set<std::string, std::less<>>& keys() const { return keys_; }

  void set(const DefaultsView& value, std::string_view key) override;
  void setEmptyList(std::string_view key) override;
  std::int64_t append(std::string_view head, std::string_view rest, std::string_view key) override;
  void setHead(std::int64_t element, std::string_view head, std::string_view key) override;
  void remove(std::int64_t element, std::string_view key) override;

 private:
  /// False if a write has failed.
  bool begin(std::string_view key);
  void removeElements(std::string_view key);
  /// Executes a statement with `arguments` for ?1, ?2 and so on.
  template <typename... Arguments>
  void run(const char* sql, const Arguments&... arguments);

  const StoreDatabase& database_;
  const std::function<StoreStatus(std::string_view)> admit_;
  StoreStatus status_ = StoreStatus::stored;
  std::set<std::string, std::less<>> keys_;
};

}  // namespace tapeloop::system
