// The saved recordings in a real store, whose program is killed or whose file is replaced.
#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "controller/stored_recordings.h"
#include "platform/system/handles.h"
#include "platform/system/sqlite_defaults_store.h"
#include "support/temporary_folder.h"

namespace tapeloop::system {
namespace {

using Outcome = StoredRecordings::Outcome;

constexpr int kills = 200;
constexpr std::size_t mostRecordings = 20;
constexpr std::size_t eventCount = 200;
constexpr std::size_t longRecordings = 60;  // of a megabyte each, before those

/// Saves recordings with the numbers from `first` on, removes the oldest of them and renames the
/// first long one, until it is killed. Reports each number once it is stored.
[[noreturn]] void saveUntilKilled(const std::filesystem::path& file, int first, int report) {
  const auto opened = SqliteDefaultsStore::open(file);
  if (!opened.store) ::_exit(1);
  StoredRecordings recordings(*opened.store);
  for (int number = first;; ++number) {
    Recording recording = makeRecording(std::vector<InputEvent>(eventCount));
    recording.title = std::to_string(number);
    bool isStored = recordings.append(recording).outcome == Outcome::stored;
    while (isStored && recordings.list().size() > longRecordings + mostRecordings) {
      isStored = recordings.remove(longRecordings).outcome == Outcome::stored;
    }
    isStored &= recordings.rename(0, "renamed").outcome == Outcome::stored;
    if (!isStored || ::write(report, &number, sizeof number) < 0) ::_exit(1);
  }
}

/// As version 1.0.0 left them.
void storeLongRecordings(const std::filesystem::path& file) {
  Recording recording = makeRecording(std::vector<InputEvent>(20'000));
  recording.title = "long";
  const std::string record = *encodeRecording(recording);
  std::string text = "[" + record;
  for (std::size_t i = 1; i < longRecordings; ++i) text += "," + record;
  const auto opened = SqliteDefaultsStore::open(file);
  ASSERT_EQ(opened.store->setObjectForKey(text + "]", StoredRecordings::key), StoreStatus::stored);
}

TEST(SavedRecordings, AreIntactWhenTheProgramIsKilled) {
  const support::TemporaryFolder folder;
  const auto file = folder.path() / "defaults.sqlite3";
  ASSERT_NO_FATAL_FAILURE(storeLongRecordings(file));
  std::mt19937 random(1);
  int latest = -1;
  for (int round = 0; round < kills; ++round) {
    SCOPED_TRACE(round);
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    const FileDescriptor reader(ends[0]);
    FileDescriptor writer(ends[1]);
    const pid_t child = ::fork();
    if (child == 0) saveUntilKilled(file, latest + 1, ends[1]);
    writer = FileDescriptor();
    ASSERT_EQ(::read(ends[0], &latest, sizeof latest), static_cast<ssize_t>(sizeof latest));
    // Somewhere within a save, which takes about this long.
    const auto moment =
        std::chrono::steady_clock::now() + std::chrono::microseconds(random() % 15000);
    while (std::chrono::steady_clock::now() < moment) {
    }
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << "a save failed";
    while (::read(ends[0], &latest, sizeof latest) == sizeof latest) {
    }
    const auto opened = SqliteDefaultsStore::open(file);
    ASSERT_TRUE(opened.store) << opened.message;
    StoredRecordings recordings(*opened.store);
    const auto& list = recordings.list();
    ASSERT_GT(list.size(), longRecordings);
    const int last = std::stoi(list.back().title);
    ASSERT_THAT(last, testing::AnyOf(latest, latest + 1));
    const auto count = list.size() - longRecordings;
    ASSERT_LE(count, mostRecordings + 1);
    for (std::size_t row = 1; row < list.size(); ++row) {
      const int number = last + 1 - static_cast<int>(list.size() - row);
      ASSERT_EQ(list[row].title, row < longRecordings ? "long" : std::to_string(number));
    }
    ASSERT_EQ(recordings.recording(list.size() - 1)->typeArray.size(), eventCount);
    latest = last;
  }
}

TEST(SavedRecordings, AreReadAgainWhenTheStoreWasReplaced) {
  const support::TemporaryFolder folder;
  const auto file = folder.path() / "defaults.sqlite3";
  const auto add = [](StoredRecordings& recordings, const std::string& title) {
    Recording recording = makeRecording({});
    recording.title = title;
    return recordings.append(recording).outcome == Outcome::stored;
  };
  const auto titles = [](StoredRecordings& recordings) {
    std::vector<std::string> found;
    for (std::size_t i = 0; i < recordings.list().size(); ++i) {
      found.push_back(recordings.list()[i].title);
    }
    return found;
  };
  const auto opened = SqliteDefaultsStore::open(file);
  StoredRecordings recordings(*opened.store);
  ASSERT_TRUE(add(recordings, "before"));
  {
    const auto backup = SqliteDefaultsStore::open(folder.path() / "backup.sqlite3");
    StoredRecordings theirs(*backup.store);
    ASSERT_TRUE(add(theirs, "backup"));
  }
  std::filesystem::rename(folder.path() / "backup.sqlite3", file);
  ASSERT_TRUE(add(recordings, "after"));
  EXPECT_THAT(titles(recordings), testing::ElementsAre("backup", "after"));
  const auto again = SqliteDefaultsStore::open(file);
  StoredRecordings stored(*again.store);
  EXPECT_THAT(titles(stored), testing::ElementsAre("backup", "after"));
}

}  // namespace
}  // namespace tapeloop::system
