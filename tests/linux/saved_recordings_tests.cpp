// The saved recordings in a real store whose program is killed.
#include <array>
#include <chrono>
#include <filesystem>
#include <random>
#include <string>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "capture/recording_json.h"
#include "controller/stored_recordings.h"
#include "platform/linux/file_descriptor.h"
#include "platform/linux/sqlite_defaults_store.h"
#include "support/temporary_folder.h"

namespace tapeloop::linux {
namespace {

namespace fs = std::filesystem;
using Edit = StoredRecordings::Edit;

constexpr int kills = 200;
constexpr std::size_t startCount = 20;
constexpr std::size_t eventCount = 200;

Recording recordingNumber(std::size_t number) {
  std::vector<InputEvent> events(eventCount);
  for (std::size_t i = 0; i < events.size(); ++i) events[i].timestamp = static_cast<double>(i);
  Recording recording = makeRecording(events);
  recording.title = "Recording " + std::to_string(number);
  // The same in both processes.
  recording.uniqueID = Uuid{};
  for (std::size_t byte = 0; byte < sizeof number; ++byte) {
    recording.uniqueID.bytes[byte] = static_cast<std::uint8_t>(number >> (8 * byte));
  }
  return recording;
}

/// One operation, which the numbers alone decide.
Edit operate(RecordingList& list, std::size_t number) {
  const std::size_t row = list.size() > 0 ? (number * 7) % list.size() : 0;
  switch (number % 3) {
    case 0:
      return list.append(recordingNumber(number)) ? Edit::made : Edit::notEncodable;
    case 1:
      return list.rename(row, std::string(number % 50, 'x') + std::to_string(number))
                 ? Edit::made
                 : Edit::notEncodable;
    default:
      list.remove(row);
      return Edit::made;
  }
}

std::string storedText(const fs::path& file) {
  const auto opened = SqliteDefaultsStore::open(file);
  if (!opened.store) return opened.message;
  const auto value = opened.store->objectForKey(StoredRecordings::key);
  return value ? std::get<std::string>(*value) : "none";
}

/// Carries out operations from `first` on until it is killed, and says the number of each before it
/// begins.
[[noreturn]] void operateUntilKilled(const fs::path& file, std::size_t first, int report) {
  const auto opened = SqliteDefaultsStore::open(file);
  if (!opened.store) ::_exit(1);
  StoredRecordings recordings(*opened.store);
  for (std::size_t number = first;; ++number) {
    if (::write(report, &number, sizeof number) != sizeof number) ::_exit(1);
    const auto outcome =
        recordings.change([&](RecordingList& list) { return operate(list, number); });
    if (!outcome.isStored()) ::_exit(1);
  }
}

TEST(SavedRecordings, AreAsBeforeOrAsAfterAnOperationInWhichTheProgramIsKilled) {
  const support::TemporaryFolder folder;
  const fs::path file = folder.path() / "defaults.sqlite3";
  RecordingList expected;
  for (std::size_t i = 0; i < startCount; ++i)
    ASSERT_TRUE(expected.append(recordingNumber(1000 + i)));
  {
    const auto opened = SqliteDefaultsStore::open(file);
    ASSERT_EQ(opened.store->setObjectForKey(expected.text(), StoredRecordings::key),
              StoreStatus::stored);
  }
  std::mt19937 random(1);
  std::size_t next = 0;
  std::size_t interrupted = 0;
  for (int round = 0; round < kills; ++round) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    const FileDescriptor reader(ends[0]);
    FileDescriptor writer(ends[1]);
    const pid_t child = ::fork();
    if (child == 0) operateUntilKilled(file, next, ends[1]);
    writer = FileDescriptor();
    std::size_t begun = next;
    ASSERT_EQ(::read(ends[0], &begun, sizeof begun), static_cast<ssize_t>(sizeof begun));
    // Somewhere within an operation, which takes about this long.
    const auto moment =
        std::chrono::steady_clock::now() + std::chrono::microseconds(random() % 15000);
    while (std::chrono::steady_clock::now() < moment) {
    }
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << "an operation failed";
    while (::read(ends[0], &begun, sizeof begun) == sizeof begun) {
    }
    for (; next < begun; ++next) ASSERT_EQ(operate(expected, next), Edit::made);
    const std::string text = storedText(file);
    if (text != expected.text()) {
      ASSERT_EQ(operate(expected, next), Edit::made);
      ++next;
      ASSERT_TRUE(text == expected.text()) << "round " << round << ": " << text.substr(0, 200);
    } else {
      ++interrupted;
    }
    ASSERT_TRUE(RecordingList::parse(text));
  }
  EXPECT_GT(interrupted, 0U) << "no kill came before the end of an operation";
}

}  // namespace
}  // namespace tapeloop::linux
