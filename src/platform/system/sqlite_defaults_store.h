#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/defaults_store.h"
#include "platform/observable.h"
#include "platform/system/store_database.h"

namespace tapeloop::system {

class EpollRunLoop;

/// "tapeloop/defaults.sqlite3" in the user's data folder, or nothing when the environment names
/// neither that folder nor a home.
std::optional<std::filesystem::path> defaultsStorePath();

/// The defaults store in one SQLite file, which its owner alone can read: recordings hold what was
/// typed. A damaged file is left as it is. Main thread only.
///
/// The store is what stands under the file's name, not what stood there when the program started:
/// a file that was deleted or replaced is opened anew before it is read or written. A transaction
/// in the midst of which that happens comes to `locked`.
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

  /// From now on looks for what other processes have written once a turn of `loop` at most, and
  /// tells of it at the end of that turn; the same for a value that can't be read. `loop` outlives
  /// the store.
  void follow(EpollRunLoop& loop);

  [[nodiscard]] std::optional<DefaultsValue> objectForKey(std::string_view key) const override;
  [[nodiscard]] StoreStatus statusOfRead(std::string_view key) const override;
  [[nodiscard]] StoreStatus setObjectForKey(const DefaultsValue& value,
                                            std::string_view key) override;
  [[nodiscard]] StoreStatus transaction(
      const std::function<void(const Writer& write)>& body) override;
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
  /// Opens the file under the name unless that is the one that is open, or a transaction is under
  /// way.
  void openWhatIsThere(IfMissing ifMissing) const;
  /// `stored` while the open file is the one under the name.
  [[nodiscard]] StoreStatus place() const;
  [[nodiscard]] StoreStatus begin();
  /// Not told to the observers yet.
  [[nodiscard]] StoreStatus write(const DefaultsView& value, std::string_view key);
  void tellObservers(std::string_view key);
  /// True if anybody was told of anything.
  bool endTurn();

  const std::filesystem::path file_;
  mutable StoreDatabase database_;
  mutable std::map<std::string, FailedRead, std::less<>> failedReads_;
  mutable std::uint64_t openings_ = 0;  // beyond the first
  mutable std::uint64_t revision_ = 0;
  mutable bool isLookedAt_ = false;  // in this turn: `revision_` holds
  mutable bool isTried_ = false;     // in this turn: to open the file
  mutable bool isNoticed_ = false;   // something is there that was not read before
  bool isInTurns_ = false;           // follows a loop
  std::map<std::string, Signal<>, std::less<>> observers_;
  Signal<> foreignWrites_;
  Subscription turns_;
};

}  // namespace tapeloop::system
