#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/system/run_loop.h"
#include "platform/system/sqlite_defaults_store.h"
#include "support/temporary_folder.h"

namespace tapeloop::system {
namespace {

namespace fs = std::filesystem;

std::string contents(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void writeContents(const fs::path& file, const std::string& text) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
}

fs::perms modeOf(const fs::path& path) {
  return fs::status(path).permissions();
}

/// The exit code of `body` in a child process.
int inChild(const std::function<int()>& body) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(body());
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class SqliteDefaultsStoreTest : public testing::Test {
 protected:
  SqliteDefaultsStore::Opened open() { return SqliteDefaultsStore::open(file_); }
  void storeText(const std::string& text) {
    const auto opened = open();
    ASSERT_TRUE(opened.store) << opened.message;
    ASSERT_EQ(opened.store->setObjectForKey(text, "key"), StoreStatus::stored);
  }

  support::TemporaryFolder folder_;
  fs::path file_ = folder_.path() / "data" / "tapeloop" / "defaults.sqlite3";
};

TEST_F(SqliteDefaultsStoreTest, IsMadeForItsOwnerAloneAndKeepsItsValues) {
  {
    const auto opened = open();
    ASSERT_TRUE(opened.store);
    EXPECT_EQ(opened.status, StoreStatus::stored);
    EXPECT_EQ(opened.message, "");
    EXPECT_EQ(opened.store->setObjectForKey(0.5, "timesToRepeat"), StoreStatus::stored);
    for (const auto& entry : fs::directory_iterator(file_.parent_path())) {
      EXPECT_EQ(modeOf(entry.path()), fs::perms(0600)) << entry.path();
    }
  }
  EXPECT_EQ(modeOf(file_.parent_path()), fs::perms(0700));
  ::chmod(file_.c_str(), 0644);
  EXPECT_EQ(open().store->objectForKey("timesToRepeat"), DefaultsValue(0.5));
  EXPECT_EQ(modeOf(file_), fs::perms(0600));
}

TEST_F(SqliteDefaultsStoreTest, IsFoundUnderTheDataFolderOfTheUser) {
  ::setenv("HOME", "/home/someone", 1);
  ::setenv("XDG_DATA_HOME", "/data", 1);
  EXPECT_EQ(defaultsStorePath(), "/data/tapeloop/defaults.sqlite3");
  ::setenv("XDG_DATA_HOME", "relative", 1);
  EXPECT_EQ(defaultsStorePath(), "/home/someone/.local/share/tapeloop/defaults.sqlite3");
  ::unsetenv("XDG_DATA_HOME");
  EXPECT_EQ(defaultsStorePath(), "/home/someone/.local/share/tapeloop/defaults.sqlite3");
  ::unsetenv("HOME");
  EXPECT_EQ(defaultsStorePath(), std::nullopt);
}

TEST_F(SqliteDefaultsStoreTest, IsNotOpenedWhenDamaged) {
  storeText(std::string(200'000, 'x'));
  const std::string sound = contents(file_);
  std::string brokenHeader = sound;
  brokenHeader[0] = '!';
  for (const std::string& broken : {std::string("not a database, but long enough to be looked at"),
                                    brokenHeader, sound.substr(0, 50'000)}) {
    writeContents(file_, broken);
    const auto opened = open();
    EXPECT_FALSE(opened.store);
    EXPECT_EQ(opened.status, StoreStatus::damaged);
    EXPECT_EQ(opened.message,
              "Settings and recordings can't be read or saved: " + file_.string() + " is damaged.");
    EXPECT_TRUE(contents(file_) == broken);
  }
}

TEST_F(SqliteDefaultsStoreTest, DoesNotWriteOverADamagedValue) {
  storeText(std::string(200'000, 'x'));
  std::string broken = contents(file_);
  for (std::size_t i = 20 * 4096; i < 30 * 4096; ++i) broken[i] = '\x7f';
  writeContents(file_, broken);
  {
    const auto opened = open();
    ASSERT_TRUE(opened.store) << "what is inside of values is not read at the start";
    EXPECT_EQ(opened.store->objectForKey("key"), std::nullopt);
    EXPECT_EQ(opened.store->setObjectForKey(std::string("new"), "key"), StoreStatus::damaged);
    EXPECT_EQ(opened.store->setObjectForKey(true, "another"), StoreStatus::stored);
  }
  EXPECT_NE(contents(file_).find(std::string(1000, 'x')), std::string::npos);
}

TEST_F(SqliteDefaultsStoreTest, IsNotOpenedWhenItIsNoFile) {
  fs::create_directories(file_);
  EXPECT_FALSE(open().store);
  EXPECT_EQ(open().status, StoreStatus::unavailable);
  fs::remove_all(folder_.path() / "data");
  writeContents(folder_.path() / "data", "a file where a folder should be");
  EXPECT_FALSE(open().store);
  EXPECT_NE(open().message, "");
}

TEST_F(SqliteDefaultsStoreTest, CanBeReadWithoutPermissionToWrite) {
  storeText("kept");
  for (const fs::path& folder : {folder_.path(), folder_.path() / "data"}) {
    ::chmod(folder.c_str(), 0755);
  }
  ::chmod(file_.c_str(), 0444);
  ::chmod(file_.parent_path().c_str(), 0555);
  // Permissions do not hold for root.
  EXPECT_EQ(inChild([&] {
              if (::getuid() == 0 && ::setuid(65534) != 0) return 1;
              const auto opened = open();
              if (!opened.store || opened.status != StoreStatus::readOnly) return 2;
              if (opened.message.empty()) return 3;
              if (opened.store->objectForKey("key") != DefaultsValue("kept")) return 4;
              if (opened.store->objectForKey("absent")) return 5;
              if (opened.store->setObjectForKey(true, "key") != StoreStatus::readOnly) return 6;
              return 0;
            }),
            0);
  ::chmod(file_.parent_path().c_str(), 0700);
}

TEST_F(SqliteDefaultsStoreTest, KeepsTheOldValuesWhenTheDiskIsFull) {
  storeText("old");
  const auto opened = open();
  int told = 0;
  const auto subscription = opened.store->observe("key", [&] { ++told; });
  const std::string longText(4 << 20, 'x');
  struct rlimit before {};
  getrlimit(RLIMIT_FSIZE, &before);
  struct rlimit small = before;
  small.rlim_cur = 1 << 20;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  EXPECT_EQ(opened.store->setObjectForKey(longText, "key"), StoreStatus::diskFull);
  EXPECT_EQ(opened.store->transaction([&](StoreWriter& writer) {
    writer.set(std::string_view("new"), "key");
    writer.set(std::string_view(longText), "other");
    writer.set(true, "third");
  }),
            StoreStatus::diskFull);
  EXPECT_EQ(opened.store->objectForKey("key"), DefaultsValue("old"));
  EXPECT_FALSE(opened.store->objectForKey("third"));
  EXPECT_EQ(told, 0);
  EXPECT_EQ(opened.store->setObjectForKey(true, "small"), StoreStatus::stored);
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_EQ(opened.store->setObjectForKey(longText, "key"), StoreStatus::stored);
}

TEST_F(SqliteDefaultsStoreTest, TwoProgramsThatCountTogetherLoseNothing) {
  constexpr std::int64_t each = 200;
  const auto countUp = [&] {
    const auto opened = open();
    for (std::int64_t i = 0; opened.store && i < each; ++i) {
      const auto status = opened.store->transaction([&](StoreWriter& writer) {
        const auto value = opened.store->objectForKey("count");
        writer.set(value ? std::get<std::int64_t>(*value) + 1 : std::int64_t{1}, "count");
      });
      if (status != StoreStatus::stored) return 1;
    }
    return opened.store ? 0 : 2;
  };
  storeText("");
  const pid_t other = ::fork();
  if (other == 0) ::_exit(countUp());
  EXPECT_EQ(inChild(countUp), 0);
  int status = 0;
  ::waitpid(other, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(open().store->objectForKey("count"), DefaultsValue(2 * each));
}

TEST_F(SqliteDefaultsStoreTest, ChecksForForeignWritesOnceATurn) {
  const auto mine = open();
  const auto theirs = open();
  EpollRunLoop loop;
  mine.store->follow(loop);
  (void)mine.store->foreignRevision();
  loop.endTurn();
  int told = 0;
  const auto subscription = mine.store->observeForeignWrites([&] { ++told; });
  const auto revision = mine.store->foreignRevision();
  EXPECT_EQ(theirs.store->setObjectForKey(true, "key"), StoreStatus::stored);
  EXPECT_EQ(mine.store->foreignRevision(), revision) << "in this turn it was asked already";
  loop.endTurn();
  EXPECT_NE(mine.store->foreignRevision(), revision);
  EXPECT_EQ(told, 0);
  loop.endTurn();
  EXPECT_EQ(told, 1);
  const auto later = mine.store->foreignRevision();
  EXPECT_EQ(theirs.store->setObjectForKey(false, "key"), StoreStatus::stored);
  EXPECT_EQ(mine.store->transaction([&](StoreWriter&) {
    EXPECT_NE(mine.store->foreignRevision(), later) << "what is read here is written over";
  }),
            StoreStatus::stored);
}

/// Stores that are put where another one stands, while that is open.
class ReplacedStoreTest : public SqliteDefaultsStoreTest {
 protected:
  ReplacedStoreTest() {
    storeText("old");
    opened_ = open();
    EXPECT_EQ(set("mine"), StoreStatus::stored);
  }
  /// A sound store with this text, which nobody has open.
  fs::path backup(const std::string& text) {
    const fs::path file = folder_.path() / "backup" / "defaults.sqlite3";
    const auto made = SqliteDefaultsStore::open(file);
    EXPECT_EQ(made.store->setObjectForKey(text, "key"), StoreStatus::stored);
    return file;
  }
  StoreStatus set(const std::string& text) { return opened_.store->setObjectForKey(text, "key"); }
  std::optional<DefaultsValue> value() { return opened_.store->objectForKey("key"); }
  static std::optional<DefaultsValue> valueIn(const fs::path& file) {
    const auto other = SqliteDefaultsStore::open(file);
    return other.store ? other.store->objectForKey("key") : std::nullopt;
  }

  SqliteDefaultsStore::Opened opened_;
  const fs::path aside_ = folder_.path() / "aside.sqlite3";
};

TEST_F(ReplacedStoreTest, IsCreatedAgainWhenItWasDeleted) {
  const auto revision = opened_.store->foreignRevision();
  fs::remove_all(file_.parent_path());
  EXPECT_EQ(value(), std::nullopt);
  EXPECT_EQ(opened_.store->statusOfRead("key"), StoreStatus::stored);
  EXPECT_FALSE(fs::exists(file_.parent_path())) << "to read makes nothing";
  EXPECT_EQ(set("after the folder went"), StoreStatus::stored);
  EXPECT_EQ(valueIn(file_), DefaultsValue("after the folder went"));
  EXPECT_NE(opened_.store->foreignRevision(), revision);
  EXPECT_EQ(modeOf(file_.parent_path()), fs::perms(0700));
  EXPECT_FALSE(fs::is_empty(file_.parent_path()));
  for (const auto& entry : fs::directory_iterator(file_.parent_path())) {
    EXPECT_EQ(modeOf(entry.path()), fs::perms(0600)) << entry.path();
  }
  fs::remove(file_);
  EXPECT_EQ(value(), std::nullopt);
  EXPECT_EQ(set("after the file went"), StoreStatus::stored);
  EXPECT_EQ(valueIn(file_), DefaultsValue("after the file went"));
}

TEST_F(ReplacedStoreTest, IsOpenedAndEachFileKeepsItsOwnLog) {
  fs::rename(file_, aside_);
  fs::rename(backup("theirs"), file_);
  ::chmod(file_.c_str(), 0644);
  EXPECT_EQ(value(), DefaultsValue("theirs"));
  EXPECT_EQ(modeOf(file_), fs::perms(0600));
  EXPECT_EQ(valueIn(aside_), DefaultsValue("mine")) << "what was in the log only";
  EXPECT_EQ(set("new"), StoreStatus::stored);
  EXPECT_EQ(valueIn(file_), DefaultsValue("new"));

  // One that comes with its log, in which the latest write is.
  const fs::path other = backup("without the log");
  const auto theirs = SqliteDefaultsStore::open(other);
  EXPECT_EQ(theirs.store->setObjectForKey(std::string("in the log"), "key"), StoreStatus::stored);
  fs::copy_file(other.string() + "-wal", aside_.string() + "-wal");
  fs::rename(aside_.string() + "-wal", file_.string() + "-wal");
  fs::copy_file(other, aside_, fs::copy_options::overwrite_existing);
  fs::rename(aside_, file_);
  EXPECT_EQ(value(), DefaultsValue("in the log"));
  EXPECT_EQ(set("newer"), StoreStatus::stored);
  EXPECT_EQ(valueIn(file_), DefaultsValue("newer"));
}

TEST_F(ReplacedStoreTest, DuringATransactionMakesItFail) {
  EXPECT_EQ(opened_.store->transaction([&](StoreWriter& writer) {
    writer.set(std::string_view("lost"), "key");
    fs::rename(file_, aside_);
    fs::rename(backup("theirs"), file_);
  }),
            StoreStatus::locked);
  EXPECT_EQ(value(), DefaultsValue("theirs"));
  EXPECT_EQ(valueIn(aside_), DefaultsValue("mine"));
  EXPECT_EQ(set("new"), StoreStatus::stored);
  EXPECT_EQ(valueIn(file_), DefaultsValue("new"));
}

TEST_F(ReplacedStoreTest, DuringTheCommitMakesItFail) {
  static std::function<void()> onCommit;
  const auto addHook = [](sqlite3* database, char**, const void*) {
    sqlite3_commit_hook(
        database,
        [](void*) {
          if (const auto action = std::exchange(onCommit, nullptr)) action();
          return 0;
        },
        nullptr);
    return SQLITE_OK;
  };
  using Extension = int (*)(sqlite3*, char**, const void*);
  sqlite3_auto_extension(reinterpret_cast<void (*)()>(static_cast<Extension>(addHook)));
  opened_ = open();
  sqlite3_reset_auto_extension();
  const fs::path theirs = backup("theirs");
  onCommit = [&] {
    fs::rename(file_, aside_);
    fs::rename(theirs, file_);
  };
  EXPECT_EQ(set("lost"), StoreStatus::locked);
  EXPECT_EQ(value(), DefaultsValue("theirs"));
}

TEST_F(ReplacedStoreTest, ByADamagedFileIsUsedOnceItIsBack) {
  fs::rename(file_, aside_);
  writeContents(file_, std::string(10'000, 'x'));
  EXPECT_EQ(value(), std::nullopt);
  EXPECT_EQ(opened_.store->statusOfRead("key"), StoreStatus::damaged);
  EXPECT_EQ(set("lost"), StoreStatus::damaged);
  EXPECT_EQ(contents(file_), std::string(10'000, 'x'));
  fs::rename(aside_, file_);
  EXPECT_EQ(set("new"), StoreStatus::stored);
  EXPECT_EQ(valueIn(file_), DefaultsValue("new"));
}

TEST_F(SqliteDefaultsStoreTest, DoesNotWriteOverWhatIsLockedOrUnreadable) {
  storeText("old");
  const auto opened = open();
  const auto set = [&opened] { return opened.store->setObjectForKey(true, "key"); };
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(file_.c_str(), &other), SQLITE_OK);
  const auto execute = [&other](const char* statement) {
    ASSERT_EQ(sqlite3_exec(other, statement, nullptr, nullptr, nullptr), SQLITE_OK);
  };
  execute("BEGIN IMMEDIATE");
  EXPECT_EQ(set(), StoreStatus::locked);
  EXPECT_EQ(opened.store->objectForKey("key"), DefaultsValue("old"));
  execute("UPDATE defaults SET type = 1");
  execute("COMMIT");
  EXPECT_FALSE(opened.store->objectForKey("key"));
  EXPECT_EQ(set(), StoreStatus::damaged);
  EXPECT_EQ(opened.store->transaction([](StoreWriter& writer) {
    writer.set(true, "other");
    writer.set(true, "key");
  }),
            StoreStatus::damaged);
  EXPECT_FALSE(opened.store->objectForKey("other"));
  EpollRunLoop loop;
  opened.store->follow(loop);
  int told = 0;
  const auto subscription = opened.store->observeForeignWrites([&] { ++told; });
  EXPECT_FALSE(opened.store->objectForKey("key"));
  execute("UPDATE defaults SET type = 3");
  EXPECT_FALSE(opened.store->objectForKey("key")) << "one failure a turn is enough to wait for";
  loop.endTurn();
  EXPECT_EQ(told, 0);
  EXPECT_TRUE(opened.store->objectForKey("key"));
  loop.endTurn();
  EXPECT_EQ(told, 1);
  EXPECT_EQ(set(), StoreStatus::stored);
  sqlite3_close(other);
}

}  // namespace
}  // namespace tapeloop::system
