// What is done with a thousand saved recordings of a thousand events each, beside writing their
// text to the store once.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <unistd.h>

#include "controller/recording_library.h"
#include "figures.h"
#include "full_library.h"
#include "platform/system/run_loop.h"
#include "platform/system/sqlite_defaults_store.h"

namespace {

using namespace tapeloop;
namespace fs = std::filesystem;

constexpr int rounds = 7;
constexpr double limit = 2;

/// Discards the trace and counts its bytes.
class CountingTrace final : public Trace {
 public:
  std::size_t bytes = 0;

 private:
  void write(std::string_view line) override { bytes += line.size() + 1; }
};

/// The measured part of the program, as after a start.
struct Program {
  explicit Program(const fs::path& file)
      : store(system::SqliteDefaultsStore::open(file).store),
        library(state, capture, playback, *store, loop, trace) {}

  std::unique_ptr<DefaultsStore> store;
  system::EpollRunLoop loop;
  CountingTrace trace;
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

double memoryInUse() {
  std::ifstream file("/proc/self/statm");
  double pages = 0;
  file >> pages >> pages;
  return pages * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1e6;
}

}  // namespace

int main() {
  std::string folder = (fs::temp_directory_path() / "library_bench.XXXXXX").string();
  if (!::mkdtemp(folder.data())) return 1;
  const fs::path file = fs::path(folder) / "defaults.sqlite3";
  double textSize = 0;
  std::vector<double> floor, opening, loading, renaming, deleting, saving;
  double memory = 0;
  for (int round = 0; round < rounds; ++round) {
    {
      const DefaultsValue text = bench::fullLibraryText();
      textSize = static_cast<double>(std::get<std::string>(text).size()) / 1e6;
      const auto store = system::SqliteDefaultsStore::open(file).store;
      if (!store) return 1;
      // The first one makes the file grow.
      if (round == 0) (void)store->setObjectForKey(text, StoredRecordings::key);
      floor.push_back(
          milliseconds([&] { (void)store->setObjectForKey(text, StoredRecordings::key); }));
    }
    const double before = memoryInUse();
    Program program(file);
    RecordingLibrary& library = program.library;
    opening.push_back(milliseconds([&] { library.toggleSidebar(); }));
    memory = memoryInUse() - before;
    loading.push_back(milliseconds([&] { library.loadSavedRecording(LoadVariant::button, 500); }));
    program.state.rows.setName(300, "A name of another length");
    renaming.push_back(milliseconds([&] { library.renameSavedRecording(300); }));
    deleting.push_back(milliseconds([&] { library.deleteSavedRecording(200); }));
    std::mt19937_64 random(2);
    for (const InputEvent& event : bench::someEvents(random))
      program.capture.eventLog.append(event);
    saving.push_back(milliseconds([&] { library.saveRecording(); }));
    if (program.state.rowCount.get() != bench::recordingCount ||
        !program.state.storeAlert.get().empty()) {
      return 1;
    }
  }
  std::error_code error;
  fs::remove_all(folder, error);
  const double write = bench::quantile(floor, 0.5);
  bool met = true;
  const auto report = [&](const char* name, const std::vector<double>& ours) {
    met &= bench::report(name, bench::quantile(ours, 0.5), write, "ms", limit);
  };
  report("library: open the sidebar", opening);
  report("library: load", loading);
  report("library: rename", renaming);
  report("library: delete", deleting);
  report("library: save one more", saving);
  met &= bench::report("library: memory for its text", memory, textSize, "MB", limit);
  return met ? 0 : 1;
}
