#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>

#include "platform/defaults_store.h"

struct sqlite3;
struct sqlite3_stmt;

namespace tapeloop::system {

/// Tells a file from every other that exists at the same time, whatever its name is.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;
  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};
/// Nothing if there is no such file, or none that can be looked at.
std::optional<FileIdentity> identityOf(const std::filesystem::path& file);

struct SqliteClose {
  void operator()(sqlite3* database) const;
  void operator()(sqlite3_stmt* statement) const;
};
using SqliteStatement = std::unique_ptr<sqlite3_stmt, SqliteClose>;

/// One opening of a store's file. It knows which file that was: another one may come to stand under
/// the name, and what is then done with this one is lost. Main thread only.
class StoreDatabase {
 public:
  StoreDatabase() = default;
  /// Makes the file and the folders on the way to it if there are none, and the table in it. What
  /// comes of it can at least be read, or is empty.
  static StoreDatabase open(const std::filesystem::path& file);
  /// Closes the file. If another one stands in its place by now, its log goes out of that one's
  /// way.
  void close();

  /// Can be read.
  explicit operator bool() const { return database_ != nullptr; }
  /// What a write comes to: other than `stored` if this is empty or was opened for reading alone.
  [[nodiscard]] StoreStatus writing() const { return writing_; }
  /// The file that was opened is still the one under the name.
  [[nodiscard]] bool isInPlace() const;

  [[nodiscard]] sqlite3* get() const { return database_.get(); }
  /// Null if it does not compile, with the reason in `status`.
  [[nodiscard]] SqliteStatement prepare(std::string_view statement) const;
  [[nodiscard]] StoreStatus execute(const char* statement) const;
  /// What became of the latest call.
  [[nodiscard]] StoreStatus status() const;
  [[nodiscard]] bool isInTransaction() const;

 private:
  using Handle = std::unique_ptr<sqlite3, SqliteClose>;
  // What SQLite keeps beside the file while it is open.
  static constexpr std::array<const char*, 2> companions = {"-wal", "-shm"};

  static StoreDatabase openHandle(const std::filesystem::path& file);

  std::filesystem::path file_;
  std::optional<FileIdentity> identity_;
  std::array<std::optional<FileIdentity>, companions.size()> companionIdentities_;
  StoreStatus writing_ = StoreStatus::unavailable;
  Handle database_;
};

}  // namespace tapeloop::system
