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

/// Identifies a file independently of its name.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;
  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};
/// Nothing if there is no such file or it is not accessible.
std::optional<FileIdentity> identityOf(const std::filesystem::path& file);

struct SqliteClose {
  void operator()(sqlite3* database) const;
  void operator()(sqlite3_stmt* statement) const;
};
using SqliteStatement = std::unique_ptr<sqlite3_stmt, SqliteClose>;

/// An open store file. It remembers which file it opened: if another file takes over the name, what
/// is written to this one is lost.
class StoreDatabase {
 public:
  StoreDatabase() = default;
  /// Creates missing folders, the file and its table. The result is at least readable, or empty.
  static StoreDatabase open(const std::filesystem::path& file);
  /// Closes the file. If another file has taken over the name, the write-ahead log of this one is
  /// deleted: SQLite would apply it to the other one.
  void close();

  /// Whether the file can be read.
  explicit operator bool() const { return database_ != nullptr; }
  /// The status that writes have: other than `stored` if this is empty or was opened read-only.
  [[nodiscard]] StoreStatus writing() const { return writing_; }
  /// Whether the name still refers to the file that was opened.
  [[nodiscard]] bool isInPlace() const;

  [[nodiscard]] sqlite3* get() const { return database_.get(); }
  /// Null on failure, with the reason in `status`.
  [[nodiscard]] SqliteStatement prepare(std::string_view statement) const;
  [[nodiscard]] StoreStatus execute(const char* statement) const;
  /// The outcome of the latest call.
  [[nodiscard]] StoreStatus status() const;
  [[nodiscard]] bool isInTransaction() const;

 private:
  using Handle = std::unique_ptr<sqlite3, SqliteClose>;
  // The files that SQLite keeps beside the store while it is open.
  static constexpr std::array<const char*, 2> companions = {"-wal", "-shm"};

  static StoreDatabase openHandle(const std::filesystem::path& file);

  std::filesystem::path file_;
  std::optional<FileIdentity> identity_;
  std::array<std::optional<FileIdentity>, companions.size()> companionIdentities_;
  StoreStatus writing_ = StoreStatus::unavailable;
  Handle database_;
};

}  // namespace tapeloop::system
