#include <csignal>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include "window/program.h"

namespace tapeloop::support {
namespace {

using Database = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;

/// A store that can't be read or written: the user is told why and loses nothing. How the store
/// itself fails is tested without a window.
class StoreFailureTests : public testing::Test {
 protected:
  static bool hasRows(Program& program, std::size_t count) {
    return eventually([&] {
      std::size_t rows = 0;
      (void)program.accessible().find([&](const Element& element) {
        if (element.role() == Role::listItem && element.is(State::showing)) ++rows;
        return false;
      });
      return rows == count;
    });
  }
  /// Gives the data folder a small disk of its own, which nothing but the program sees; `prepare`
  /// runs on it first, with the folder as $0. Empty if that is not allowed here.
  [[nodiscard]] std::vector<std::string> onSmallDisk(const std::string& prepare) const {
    const std::string mount = "mount -t tmpfs -o size=400k none \"$0\" && ";
    std::vector<std::string> launcher{"unshare",
                                      "--map-current-user",
                                      "--keep-caps",
                                      "--mount",
                                      "sh",
                                      "-c",
                                      mount + prepare + " && exec \"$@\"",
                                      data.path().string()};
    auto trial = launcher;
    trial.emplace_back("true");
    if (ChildProcess(trial).wait(generousLimit) != 0) return {};
    return launcher;
  }
  [[nodiscard]] std::filesystem::path file() const {
    return data.path() / "tapeloop" / "defaults.sqlite3";
  }
  [[nodiscard]] static Database open(const std::filesystem::path& database) {
    sqlite3* opened = nullptr;
    EXPECT_EQ(sqlite3_open(database.c_str(), &opened), SQLITE_OK);
    return {opened, sqlite3_close};
  }
  static void execute(const Database& database, const char* statement) {
    ASSERT_EQ(sqlite3_exec(database.get(), statement, nullptr, nullptr, nullptr), SQLITE_OK);
  }
  static void expectRefusal(Program& program, const std::string& button,
                            const std::string& reason) {
    program.press(button);
    EXPECT_EQ(program.dismissAlert(), "The change was not saved: " + reason);
  }
  /// The program says this in an alert and on standard error, shows one recording, that of the
  /// store or one that is kept in memory, and leaves the store as it is.
  void expectStart(const std::string& sentence, const std::optional<std::string>& refusal,
                   const std::vector<std::string>& launcher = {}) {
    SCOPED_TRACE(sentence);
    std::error_code hidden;
    const auto before = std::filesystem::last_write_time(file(), hidden);
    Program program(desktop, {}, data.path(), launcher);
    EXPECT_EQ(program.dismissAlert(), sentence);
    EXPECT_THAT(program.complaints(), testing::ElementsAre(sentence));
    program.recordClick();
    if (refusal) {
      expectRefusal(program, "Save Recording", *refusal);
    } else {
      program.press("Save Recording");
    }
    EXPECT_TRUE(hasRows(program, 1));
    program.press("Information");
    (void)program.named(Role::alert, "Tapeloop");
    program.process().kill(SIGINT);
    EXPECT_EQ(program.exitCode(), 128 + SIGINT) << "an open alert does not keep it running";
    EXPECT_EQ(std::filesystem::last_write_time(file(), hidden), before);
  }

  TestDesktop desktop;
  TemporaryFolder data;
};

TEST_F(StoreFailureTests, RefusedChangesAreToldAndCanBeRepeated) {
  Program program(desktop, {}, data.path());
  program.recordClick();
  program.saveRecording();
  const Database other = open(file());
  execute(other, "BEGIN IMMEDIATE");
  for (const char* button : {"Save Recording", "Delete Recording"}) {
    expectRefusal(program, button, "another program is using the recordings. Try again.");
    EXPECT_TRUE(hasRows(program, 1));
  }
  execute(other, "ROLLBACK");
  program.press("Save Recording");
  EXPECT_TRUE(hasRows(program, 2));
}

TEST_F(StoreFailureTests, StartsWithAStoreThatIsNoGood) {
  const TemporaryFolder kept;
  {
    Program program(desktop, {}, kept.path());
    program.recordClick();
    program.saveRecording();
    ASSERT_EQ(program.close(), 0);
  }
  std::filesystem::copy(kept.path() / "tapeloop", data.path() / "tapeloop");
  const auto folder = file().parent_path();
  const std::string name = file().string();
  const std::string noneKept = "Settings and recordings can't be saved";
  const std::string noneRead = "Settings and recordings can't be read or saved";
  ASSERT_EQ(chmod(name.c_str(), 0400), 0);
  ASSERT_EQ(chmod(folder.c_str(), 0500), 0);
  expectStart(noneKept + ": there is no permission to write " + name + ".",
              "there is no permission to write the recordings.", asOrdinaryUser());
  ASSERT_EQ(chmod(folder.c_str(), 0), 0);
  expectStart(noneRead + ": there is no permission to open " + name + ".", {}, asOrdinaryUser());
  ASSERT_EQ(chmod(folder.c_str(), 0700), 0);
  ASSERT_EQ(chmod(name.c_str(), 0600), 0);
  execute(open(file()), "PRAGMA user_version = 2");
  expectStart(noneRead + ": " + name + " was written by a newer version of Tapeloop.", {});

  const std::string fill = "{ head -c 1m /dev/zero >\"$0/filler\" 2>/dev/null; true; }";
  const std::string room = " until there is room for " + name + " and Tapeloop is started again.";
  const auto onFullDisk =
      onSmallDisk("cp -r '" + kept.path().string() + "/tapeloop' \"$0\" && " + fill);
  if (onFullDisk.empty()) GTEST_SKIP() << "no disk may be mounted here";
  expectStart(noneKept + room, "there is no room left for the recordings.", onFullDisk);
  expectStart(noneRead + room, {}, onSmallDisk(fill));
}

}  // namespace
}  // namespace tapeloop::support
