#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/defaults_store.h"
#include "platform/signal.h"

struct sqlite3;
struct sqlite3_stmt;

namespace tapeloop::linux {

/// "tapeloop/defaults.sqlite3" in the user's data folder, or nothing when the environment names
/// neither that folder nor a home.
std::optional<std::filesystem::path> defaultsStorePath();

/// The defaults store in one SQLite file, which its owner alone can read: recordings hold what was
/// typed. A damaged file is left as it is. Main thread only.
///
/// A key whose last read failed, rather than found nothing, refuses to be written until a read of
/// it succeeds: the new value was made without knowing the old one.
class SqliteDefaultsStore final : public DefaultsStore {
 public:
  struct Opened {
    std::unique_ptr<SqliteDefaultsStore> store;     ///< Null if it can't even be read.
    StoreStatus status = StoreStatus::unavailable;  ///< What a write comes to.
    std::string message;  ///< One sentence for the user; empty if the store can be written.
  };

  /// Makes the file and the folders on the way to it if there are none. A store that can be read
  /// and not written is returned with the reason, which all its writes give.
  static Opened open(const std::filesystem::path& file);

  ~SqliteDefaultsStore() override;

  [[nodiscard]] std::optional<DefaultsValue> objectForKey(std::string_view key) const override;
  [[nodiscard]] StoreStatus setObjectForKey(const DefaultsValue& value,
                                            std::string_view key) override;
  [[nodiscard]] StoreStatus transaction(
      const std::function<void(const Writer& write)>& body) override;
  [[nodiscard]] std::uint64_t foreignRevision() const override;
  Subscription observe(std::string_view key, std::function<void()> callback) override;

 private:
  struct Close {
    void operator()(sqlite3* database) const;
    void operator()(sqlite3_stmt* statement) const;
  };
  using Database = std::unique_ptr<sqlite3, Close>;
  using Statement = std::unique_ptr<sqlite3_stmt, Close>;

  SqliteDefaultsStore(Database database, StoreStatus writing);

  /// A handle comes with a failure too, to ask it for the cause.
  static Database openDatabase(const std::string& name, int flags);
  static StoreStatus check(sqlite3* database);
  static StoreStatus prepareForWriting(sqlite3* database);
  static Statement prepare(sqlite3* database, std::string_view statement);

  [[nodiscard]] StoreStatus execute(const char* statement);
  /// Not told to the observers yet.
  [[nodiscard]] StoreStatus write(const DefaultsView& value, std::string_view key);
  void tellObservers(std::string_view key);

  Database database_;
  const StoreStatus writing_;  ///< Other than `stored`: it was opened for reading alone.
  mutable std::map<std::string, StoreStatus, std::less<>> failedReads_;
  std::map<std::string, Signal<>, std::less<>> observers_;
};

}  // namespace tapeloop::linux
