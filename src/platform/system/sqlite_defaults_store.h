#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/defaults_store.h"
#include "platform/observable.h"
#include "platform/system/store_database.h"

namespace tapeloop::system {

class EpollRunLoop;

/// "tapeloop/defaults.sqlite3" in the user's data folder. Nothing if neither XDG_DATA_HOME nor HOME
/// is set to an absolute path.
std::optional<std::filesystem::path> defaultsStorePath();

/// The defaults store in an SQLite file. Only the owner can read the file, since recordings contain
/// what was typed. A damaged file is not changed.
///
/// If the file is deleted or replaced while the program runs, the one that now has the name is
/// opened before the next read or write. If that happens during a transaction, the transaction
/// fails with `locked`.
class SqliteDefaultsStore final : public DefaultsStore {
 public:
  struct Opened {
    std::unique_ptr<SqliteDefaultsStore> store;     ///< Null if it can't even be read.
    StoreStatus status = StoreStatus::unavailable;  ///< The status that writes have.
    std::string message;  ///< One sentence for the user; empty if the store can be written.
  };

  /// Creates the file and its folders if they are missing. A store that can only be read is
  /// returned with the reason, which is the status of all its writes.
  static Opened open(const std::filesystem::path& file);

  ~SqliteDefaultsStore() override;

  /// From now on checks for writes of other processes at most once in each turn of `loop`, and
  /// calls the observers at the end of that turn. A value that can't be read is also tried once in
  /// each turn.
  void follow(EpollRunLoop& loop);

  [[nodiscard]] std::optional<DefaultsValue> objectForKey(std::string_view key) const override;
  [[nodiscard]] StoreStatus statusOfRead(std::string_view key) const override;
  [[nodiscard]] std::optional<std::vector<ListElement>> elementsForKey(
      std::string_view key) const override;
  [[nodiscard]] std::optional<std::string> elementText(std::int64_t element,
                                                       std::string_view key) const override;
  [[nodiscard]] StoreStatus transaction(
      const std::function<void(StoreWriter& writer)>& body) override;
  [[nodiscard]] std::uint64_t foreignRevision() const override;
  Subscription observe(std::string_view key, std::function<void()> callback) override;
  Subscription observeForeignWrites(std::function<void()> callback) override {
    return foreignWrites_.connect(std::move(callback));
  }

 private:
  struct FailedRead {
    StoreStatus status;
    bool isOfThisTurn;
  };

  SqliteDefaultsStore(std::filesystem::path file, StoreDatabase database);

  enum class IfMissing : std::uint8_t { leave, make };
  /// Reopens the file if the name no longer refers to the open one. Not within a transaction.
  void reopenIfReplaced(IfMissing ifMissing) const;
  /// `stored` if the name still refers to the open file, otherwise `locked`.
  [[nodiscard]] StoreStatus place() const;
  [[nodiscard]] StoreStatus begin();
  /// What `body` reads, unless the key failed to be read in this turn already. `body` returns the
  /// outcome.
  template <typename T>
  std::optional<T> read(std::string_view key,
                        const std::function<StoreStatus(std::optional<T>&)>& body) const;
  void callObservers(std::string_view key);
  /// True if observers were called.
  bool endTurn();

  const std::filesystem::path file_;
  mutable StoreDatabase database_;
  mutable std::map<std::string, FailedRead, std::less<>> failedReads_;
  mutable std::uint64_t openings_ = 0;  // how often the file was reopened
  mutable std::uint64_t revision_ = 0;
  mutable bool isRevisionCurrent_ = false;  // `revision_` was read in this turn
  mutable bool openingTried_ = false;       // opening the file was tried in this turn
  mutable bool hasNews_ = false;  // `foreignWrites_` is to be called at the end of the turn
  bool isInTurns_ = false;        // `follow` was called
  std::map<std::string, Signal<>, std::less<>> observers_;
  Signal<> foreignWrites_;
  Subscription turns_;
};

}  // namespace tapeloop::system
