#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "window/program.h"

namespace tapeloop::support {
namespace {

using Database = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;

/// A store that can't be read or written, from the start or while the program runs: the user is
/// told why, loses nothing, and saves once it takes writes again.
class StoreFailureTests : public testing::Test {
 protected:
  static void save(Program& program) {
    ASSERT_TRUE(program.named("push button", "Save Recording").press());
  }
  static void expectAlert(Program& program, const std::string& reason) {
    const Element alert = program.named("alert", "Tapeloop");
    EXPECT_EQ(alert.description(), "The change was not saved: " + reason);
    ASSERT_TRUE(program.named("push button", "Dismiss").press());
    EXPECT_TRUE(program.loses("alert", "Tapeloop"));
  }
  static std::size_t rows(Program& program) {
    std::size_t count = 0;
    (void)program.accessible().find([&](const Element& element) {
      if (element.role() == "list item" && element.is(State::showing)) ++count;
      return false;
    });
    return count;
  }
  /// The same sentence in a window and, alone, on standard error.
  static void expectAlertAtStart(Program& program, const std::string& sentence) {
    const Element alert = program.named("alert", "Tapeloop");
    EXPECT_EQ(alert.description(), sentence);
    EXPECT_THAT(program.complaints(), testing::ElementsAre(sentence));
    ASSERT_TRUE(program.named("push button", "Dismiss").press());
    EXPECT_TRUE(program.loses("alert", "Tapeloop"));
  }
  /// Modes don't hold the administrator, who has to become an ordinary user first.
  static std::vector<std::string> asOrdinaryUser() {
    if (geteuid() != 0) return {};
    return {"setpriv", "--bounding-set", "-dac_override,-dac_read_search,-fowner"};
  }
  /// Gives the data folder a small disk of its own, which nothing but the program sees; `prepare`
  /// runs on it first, with the folder as $0. Empty if that is not allowed here.
  [[nodiscard]] std::vector<std::string> onSmallDisk(const std::string& prepare = "true") const {
    std::vector<std::string> launcher{
        "unshare",
        "--map-current-user",
        "--keep-caps",
        "--mount",
        "sh",
        "-c",
        "mount -t tmpfs -o size=400k none \"$0\" && " + prepare + " && exec \"$@\"",
        data.path().string()};
    auto trial = launcher;
    trial.emplace_back("true");
    if (ChildProcess(trial).wait(generousLimit) != 0) return {};
    return launcher;
  }
  [[nodiscard]] std::filesystem::path file() const {
    return data.path() / "tapeloop" / "defaults.sqlite3";
  }

  void execute(const char* statement) const {
    sqlite3* opened = nullptr;
    ASSERT_EQ(sqlite3_open(file().c_str(), &opened), SQLITE_OK);
    const Database database(opened, sqlite3_close);
    ASSERT_EQ(sqlite3_exec(opened, statement, nullptr, nullptr, nullptr), SQLITE_OK);
  }

  TestDesktop desktop;
  TemporaryFolder data;
};

TEST_F(StoreFailureTests, AFullDisk) {
  const auto launcher = onSmallDisk();
  if (launcher.empty()) GTEST_SKIP() << "no disk may be mounted here";
  Program program(desktop, {}, data.path(), launcher);
  ASSERT_TRUE(program.recordsAClick());
  save(program);
  (void)program.named("list item", "New Recording");

  const auto filler = std::filesystem::path("/proc") / std::to_string(program.process().pid()) /
                      "root" / data.path().relative_path() / "filler";
  std::ofstream fill(filler, std::ios::binary);
  const std::string block(4096, 'x');
  while (fill << block << std::flush) {
  }
  fill.close();
  for (const char* button : {"Save Recording", "Delete Recording"}) {
    ASSERT_TRUE(program.named("push button", button).press());
    expectAlert(program, "there is no room left for the recordings.");
    EXPECT_EQ(rows(program), 1U);
  }

  std::filesystem::remove(filler);
  save(program);
  EXPECT_TRUE(eventually([&] { return rows(program) == 2; }));
}

TEST_F(StoreFailureTests, ALimitToTheSizeOfFiles) {
  Program program(desktop, {}, data.path());
  ASSERT_TRUE(program.recordsAClick());
  save(program);
  (void)program.named("list item", "New Recording");
  const auto limit = [&program](rlim_t size) {
    const rlimit limits{size, RLIM_INFINITY};
    return prlimit(program.process().pid(), RLIMIT_FSIZE, &limits, nullptr);
  };
  ASSERT_EQ(limit(100), 0);
  for (const char* button : {"Save Recording", "Delete Recording"}) {
    ASSERT_TRUE(program.named("push button", button).press());
    expectAlert(program, "there is no room left for the recordings.");
    EXPECT_EQ(rows(program), 1U);
  }

  ASSERT_EQ(limit(RLIM_INFINITY), 0);
  save(program);
  EXPECT_TRUE(eventually([&] { return rows(program) == 2; }));
}

TEST_F(StoreFailureTests, AStoreThatAnotherProcessHolds) {
  Program program(desktop, {}, data.path());
  ASSERT_TRUE(program.recordsAClick());
  sqlite3* opened = nullptr;
  ASSERT_EQ(sqlite3_open(file().c_str(), &opened), SQLITE_OK);
  const Database other(opened, sqlite3_close);
  ASSERT_EQ(sqlite3_exec(opened, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  save(program);
  expectAlert(program, "another program is using the recordings. Try again.");
  EXPECT_EQ(rows(program), 0U);
  ASSERT_EQ(sqlite3_exec(opened, "ROLLBACK", nullptr, nullptr, nullptr), SQLITE_OK);
  save(program);
  EXPECT_TRUE(eventually([&] { return rows(program) == 1; }));
}

TEST_F(StoreFailureTests, AFolderThatMayNotBeWrittenTo) {
  {
    Program program(desktop, {}, data.path());
    ASSERT_TRUE(program.recordsAClick());
    save(program);
    (void)program.named("list item", "New Recording");
    ASSERT_TRUE(program.named("push button", "Close").press());
    ASSERT_EQ(program.exitCode(), 0);
  }
  ASSERT_EQ(chmod(file().c_str(), 0400), 0);
  ASSERT_EQ(chmod(file().parent_path().c_str(), 0500), 0);
  Program program(desktop, {}, data.path(), asOrdinaryUser());
  expectAlertAtStart(program,
                     "Settings and recordings can't be saved: there is no permission to write " +
                         file().string() + ".");
  ASSERT_TRUE(program.recordsAClick());
  save(program);
  expectAlert(program, "there is no permission to write the recordings.");
  EXPECT_EQ(rows(program), 1U) << "what is there can be read";
  ASSERT_EQ(chmod(file().parent_path().c_str(), 0700), 0);
}

TEST_F(StoreFailureTests, AStoreThatCannotBeReadAtTheStart) {
  const std::string lost = "Settings and recordings can't be read or saved: ";
  { (void)Program(desktop, {}, data.path()).recordButton(); }
  const auto expectUntouched = [this](const std::string& sentence) {
    const auto before = std::filesystem::last_write_time(file());
    Program program(desktop, {}, data.path());
    expectAlertAtStart(program, sentence);
    ASSERT_TRUE(program.recordsAClick());
    save(program);
    EXPECT_TRUE(eventually([&] { return rows(program) == 1; })) << "what can be had in memory";
    program.process().kill(SIGINT);
    EXPECT_EQ(program.exitCode(), 128 + SIGINT);
    EXPECT_EQ(std::filesystem::last_write_time(file()), before);
  };
  execute("PRAGMA user_version = 1");
  expectUntouched(lost + file().string() + " was written by a newer version of Tapeloop.");
  std::ofstream(file()) << std::string(10'000, 'x');
  expectUntouched(lost + file().string() + " is damaged.");

  ASSERT_EQ(chmod(file().parent_path().c_str(), 0), 0);
  {
    Program program(desktop, {}, data.path(), asOrdinaryUser());
    expectAlertAtStart(program, lost + "there is no permission to open " + file().string() + ".");
  }
  ASSERT_EQ(chmod(file().parent_path().c_str(), 0700), 0);
}

TEST_F(StoreFailureTests, ADiskThatIsFullAtTheStart) {
  const std::string fill = "{ head -c 1m /dev/zero >\"$0/filler\" 2>/dev/null; true; }";
  const auto onFullDisk = onSmallDisk(fill);
  if (onFullDisk.empty()) GTEST_SKIP() << "no disk may be mounted here";
  {
    Program program(desktop, {}, data.path(), onFullDisk);
    expectAlertAtStart(program,
                       "Settings and recordings can't be read or saved until there is room for " +
                           file().string() + " and Tapeloop is started again.");
  }
  // What was saved while there was room can be read.
  const TemporaryFolder kept;
  {
    Program program(desktop, {}, kept.path());
    ASSERT_TRUE(program.recordsAClick());
    save(program);
    (void)program.named("list item", "New Recording");
    ASSERT_TRUE(program.named("push button", "Close").press());
    ASSERT_EQ(program.exitCode(), 0);
  }
  Program program(desktop, {}, data.path(),
                  onSmallDisk("cp -r '" + kept.path().string() + "/tapeloop' \"$0\" && " + fill));
  expectAlertAtStart(program, "Settings and recordings can't be saved until there is room for " +
                                  file().string() + " and Tapeloop is started again.");
  ASSERT_TRUE(program.recordsAClick());
  save(program);
  expectAlert(program, "there is no room left for the recordings.");
  EXPECT_EQ(rows(program), 1U);
}

}  // namespace
}  // namespace tapeloop::support
