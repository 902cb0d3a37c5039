// What is done with many saved recordings, beside the same in a library of one; the memory that
// they take; and how long the sidebar takes to open, beside reading the file.
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include "controller/recording_library.h"
#include "figures.h"
#include "full_library.h"
#include "platform/system/run_loop.h"
#include "platform/system/sqlite_defaults_store.h"

namespace {

using namespace tapeloop;
namespace fs = std::filesystem;

constexpr int rounds = 9;
constexpr std::size_t savedEvents = 100;

/// Nobody reads it, as when the program is started from a desktop's menu.
class UnreadTrace final : public Trace {
 public:
  UnreadTrace() { loseReader(); }

 private:
  void write(std::string_view) override {}
};

/// The measured part of the program, as after a start.
struct Program {
  explicit Program(const fs::path& file)
      : store(system::SqliteDefaultsStore::open(file).store),
        library(state, capture, playback, *store, loop, trace) {}

  std::unique_ptr<DefaultsStore> store;
  system::EpollRunLoop loop;
  UnreadTrace trace;
  CaptureState capture;
  PlaybackState playback;
  LibraryState state{capture.isRecording};
  RecordingLibrary library;
};

double milliseconds(const std::function<void()>& body) {
  const auto start = std::chrono::steady_clock::now();
  body();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
      .count();
}

/// A figure of this process from a file with lines of the form "name: number", in the unit there.
double figure(const char* file, std::string_view name) {
  std::ifstream lines(file);
  std::string word;
  while (lines >> word && word != name) {
  }
  double value = 0;
  lines >> value;
  return value;
}

struct Changes {
  double loading, saving, renaming, deleting;  // milliseconds
  double written;  // megabytes, by a save, a rename and a delete, moved from the log included
};

/// Each round on a library of that size. A library of several recordings is used for all rounds,
/// since they hardly change it.
Changes measureChanges(const fs::path& file, const bench::LibrarySize& size) {
  std::vector<double> loading, saving, renaming, deleting;
  double written = 0;
  const auto measured = [&written](std::vector<double>& times, const std::function<void()>& body) {
    const double before = figure("/proc/self/io", "wchar:");
    times.push_back(milliseconds(body));
    written += (figure("/proc/self/io", "wchar:") - before) / 1e6;
  };
  for (int round = 0; round < rounds; ++round) {
    if ((round == 0 || size.recordings == 1) && !bench::makeLibrary(file, size)) {
      throw std::runtime_error("no library");
    }
    auto program = std::make_unique<Program>(file);
    RecordingLibrary& library = program->library;
    library.toggleSidebar();
    std::mt19937_64 random(2);
    for (const InputEvent& event : bench::someEvents(random, savedEvents)) {
      program->capture.eventLog.append(event);
    }
    const std::size_t middle = size.recordings / 2;
    measured(loading, [&] { library.loadSavedRecording(LoadVariant::button, middle); });
    program->state.rows.setName(middle, "A name of another length " + std::to_string(round));
    measured(renaming, [&] { library.renameSavedRecording(middle); });
    measured(saving, [&] { library.saveRecording(); });
    measured(deleting, [&] { library.deleteSavedRecording(middle); });
    if (!program->state.storeAlert.get().empty()) throw std::runtime_error("a change was refused");
    const double before = figure("/proc/self/io", "wchar:");
    program.reset();
    written += (figure("/proc/self/io", "wchar:") - before) / 1e6;
  }
  return {bench::quantile(loading, 0.5), bench::quantile(saving, 0.5),
          bench::quantile(renaming, 0.5), bench::quantile(deleting, 0.5), written / rounds};
}

double openingTime(const fs::path& file) {
  std::vector<double> times;
  for (int round = 0; round < rounds; ++round) {
    Program program(file);
    times.push_back(milliseconds([&] { program.library.toggleSidebar(); }));
  }
  return bench::quantile(times, 0.5);
}

double scanningTime(const fs::path& file) {
  std::vector<double> times;
  std::vector<char> buffer(std::size_t{1} << 20);
  for (int round = 0; round < rounds; ++round) {
    times.push_back(milliseconds([&] {
      std::ifstream stream(file, std::ios::binary);
      while (stream.read(buffer.data(), static_cast<std::streamsize>(buffer.size()))) {
      }
    }));
  }
  return bench::quantile(times, 0.5);
}

/// Megabytes that a new process has in memory once it has opened the sidebar.
double memoryOf(const fs::path& file) {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
  const pid_t child = ::fork();
  double megabytes = 0;
  if (child == 0) {
    Program program(file);
    program.library.toggleSidebar();
    megabytes = figure("/proc/self/status", "VmRSS:") / 1e3;
    ::_exit(::write(ends[1], &megabytes, sizeof megabytes) == sizeof megabytes ? 0 : 1);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  if (::read(ends[0], &megabytes, sizeof megabytes) != sizeof megabytes) megabytes = -1;
  ::close(ends[0]);
  ::close(ends[1]);
  return megabytes;
}

struct Case {
  const char* name;
  bench::LibrarySize size;
};
constexpr Case cases[] = {
    {"60 MB", {1000, 1000}}, {"600 MB", {1000, 10'000}}, {"6,000 recordings", {6000, 650}}};

bool run(const fs::path& folder) {
  const fs::path full = folder / "full.sqlite3";
  const fs::path single = folder / "single.sqlite3";
  const fs::path empty = folder / "empty.sqlite3";
  bool met = bench::makeLibrary(empty, {0, 0});
  for (const Case& of : cases) {
    const std::string name = std::string("library of ") + of.name + ": ";
    // In both libraries the recording that is loaded and deleted has the same length.
    const Changes floor = measureChanges(single, {1, of.size.events});
    const Changes ours = measureChanges(full, of.size);
    const double opening = openingTime(full);
    met &= bench::report(name + "open the sidebar", opening, scanningTime(full), "ms", 2);
    met &= bench::report(name + "memory", memoryOf(full) - memoryOf(empty), 15, "MB", 1);
    constexpr double limit = 3;
    met &= bench::report(name + "load", ours.loading, floor.loading, "ms", limit);
    met &= bench::report(name + "rename", ours.renaming, floor.renaming, "ms", limit);
    met &= bench::report(name + "delete", ours.deleting, floor.deleting, "ms", limit);
    met &= bench::report(name + "save one more", ours.saving, floor.saving, "ms", limit);
    const double changed =
        static_cast<double>(fs::file_size(full)) / 1e6 / static_cast<double>(of.size.recordings);
    met &= bench::report(name + "written by three changes", ours.written, changed + 3, "MB", 1);
  }
  return met;
}

}  // namespace

int main() {
  std::string folder = (fs::temp_directory_path() / "library_bench.XXXXXX").string();
  if (!::mkdtemp(folder.data())) return 1;
  const int status = bench::exitStatusOf([&] { return run(folder); });
  std::error_code error;
  fs::remove_all(folder, error);
  return status;
}
