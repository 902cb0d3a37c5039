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

using Edit = StoredRecordings::Edit;

constexpr int kills = 200;
constexpr int mostRecordings = 20;
constexpr std::size_t eventCount = 200;

/// Saves recordings with the numbers from `first` on, each in the place of the oldest one, until it
/// is killed. Reports each number once it is stored.
[[noreturn]] void saveUntilKilled(const std::filesystem::path& file, int first, int report) {
  const auto opened = SqliteDefaultsStore::open(file);
  if (!opened.store) ::_exit(1);
  StoredRecordings recordings(*opened.store);
  for (int number = first;; ++number) {
    Recording recording = makeRecording(std::vector<InputEvent>(eventCount));
    recording.title = std::to_string(number);
    const auto outcome = recordings.change([&](RecordingList& list) {
      if (number >= mostRecordings) list.remove(0);
      return list.append(recording) ? Edit::made : Edit::notEncodable;
    });
    if (!outcome.isStored() || ::write(report, &number, sizeof number) < 0) ::_exit(1);
  }
}

TEST(SavedRecordings, AreIntactWhenTheProgramIsKilledInASave) {
  const support::TemporaryFolder folder;
  const auto file = folder.path() / "defaults.sqlite3";
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
    const RecordingList& list = recordings.list();
    ASSERT_GT(list.size(), 0U);
    const int last = std::stoi(list.title(list.size() - 1));
    ASSERT_THAT(last, testing::AnyOf(latest, latest + 1));
    const int first = std::max(0, last + 1 - mostRecordings);
    ASSERT_EQ(list.size(), static_cast<std::size_t>(last + 1 - first));
    for (std::size_t row = 0; row < list.size(); ++row) {
      ASSERT_EQ(std::stoi(list.title(row)), first + static_cast<int>(row));
    }
    latest = last;
  }
}

TEST(SavedRecordings, AreReadAgainWhenTheStoreWasReplaced) {
  const support::TemporaryFolder folder;
  const auto file = folder.path() / "defaults.sqlite3";
  const auto add = [](StoredRecordings& recordings, const std::string& title) {
    Recording recording = makeRecording({});
    recording.title = title;
    return recordings
        .change([&](RecordingList& list) {
          return list.append(recording) ? Edit::made : Edit::notEncodable;
        })
        .isStored();
  };
  const auto titles = [](StoredRecordings& recordings) {
    std::vector<std::string> found;
    for (std::size_t i = 0; i < recordings.list().size(); ++i) {
      found.push_back(recordings.list().title(i));
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
