// From the start of the program to its first frame, and what it takes when it stands idle, beside
// an empty Qt Quick window on the same scene graph; and its first frame when the library is full,
// beside that when it is empty. All are watched from outside.
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>
#include <xcb/xcb.h>

#include "controller/stored_recordings.h"
#include "figures.h"
#include "full_library.h"
#include "platform/system/sqlite_defaults_store.h"
#include "support/child_process.h"
#include "support/x_connection.h"
#include "support/x_server.h"

namespace tapeloop::bench {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using support::ChildProcess;
using support::XConnection;
using support::XOwned;
using support::XServer;

constexpr int rounds = 9;
constexpr auto timeout = std::chrono::seconds(20);
constexpr auto step = std::chrono::microseconds(500);
constexpr auto settling = std::chrono::seconds(1);

struct Start {
  double firstFrame = 0;  // milliseconds
  double resident = 0;    // MB
  double processor = 0;   // milliseconds, until idle
  double threads = 0;
};

// A frame is there when some window on the screen is no longer as the server made it: black.
bool hasFrame(const XConnection& connection) {
  const XOwned<xcb_query_tree_reply_t> tree(
      xcb_query_tree_reply(connection, xcb_query_tree(connection, connection.root()), nullptr));
  if (!tree) return false;
  for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
    const xcb_window_t window = xcb_query_tree_children(tree.get())[i];
    const XOwned<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
    if (!geometry || geometry->width < 100) continue;
    const XOwned<xcb_get_image_reply_t> image(xcb_get_image_reply(
        connection, xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, 20, 20, 1, 1, ~0U),
        nullptr));
    if (!image || xcb_get_image_data_length(image.get()) < 3) continue;
    if (xcb_get_image_data(image.get())[1] != 0) return true;
  }
  return false;
}

double statusField(pid_t process, const std::string& name) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  std::string word;
  double value = 0;
  while (status >> word) {
    if (word == name + ":" && status >> value) return value;
  }
  return 0;
}

double processorMilliseconds(pid_t process) {
  std::ifstream schedule("/proc/" + std::to_string(process) + "/schedstat");
  double nanoseconds = 0;
  schedule >> nanoseconds;
  return nanoseconds / 1e6;
}

std::optional<Start> start(const std::string& program, const std::string& folder) {
  const XServer server;
  const XConnection connection(server.display());
  const auto begin = Clock::now();
  ChildProcess process({program}, {server.displayVariable(), "XDG_DATA_HOME=" + folder,
                                   "XDG_RUNTIME_DIR=" + folder});
  while (!hasFrame(connection)) {
    if (Clock::now() - begin > timeout || !process.isRunning()) return std::nullopt;
    std::this_thread::sleep_for(step);
  }
  Start result;
  result.firstFrame = std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
  std::this_thread::sleep_for(settling);
  result.resident = statusField(process.pid(), "VmRSS") / 1024;
  result.threads = statusField(process.pid(), "Threads");
  result.processor = processorMilliseconds(process.pid());
  process.kill(SIGTERM);
  process.wait(timeout);
  return result;
}

/// A folder of its own for each program that is started, so that none finds what another left.
class DataFolders {
 public:
  DataFolders() {
    isFilled_ = makeLibrary(make("full") / "tapeloop" / "defaults.sqlite3", {});
    make("empty");
  }
  DataFolders(const DataFolders&) = delete;
  DataFolders& operator=(const DataFolders&) = delete;
  ~DataFolders() {
    std::error_code error;
    fs::remove_all(root_, error);
  }

  [[nodiscard]] bool isFilled() const { return isFilled_; }
  [[nodiscard]] std::string empty() const { return root_ / "empty"; }
  [[nodiscard]] std::string full() const { return root_ / "full"; }

 private:
  fs::path make(const char* name) {
    fs::create_directories(root_ / name);
    fs::permissions(root_ / name, fs::perms::owner_all);
    return root_ / name;
  }

  const fs::path root_ =
      fs::temp_directory_path() / ("startup_bench." + std::to_string(::getpid()));
  bool isFilled_ = false;
};

double median(const std::vector<Start>& starts, double Start::*field) {
  std::vector<double> values;
  for (const Start& one : starts) values.push_back(one.*field);
  return quantile(values, 0.5);
}

}  // namespace
}  // namespace tapeloop::bench

int main() {
  using namespace tapeloop::bench;
  const DataFolders folders;
  std::vector<Start> ours;
  std::vector<Start> floors;
  std::vector<Start> full;
  for (int round = 0; round < rounds; ++round) {
    // In turns, so that all meet the same load of the machine.
    const auto one = start(TAPELOOP_PROGRAM, folders.empty());
    const auto floor = start(EMPTY_WINDOW_PROGRAM, folders.empty());
    const auto withLibrary = start(TAPELOOP_PROGRAM, folders.full());
    if (!one || !floor || !withLibrary || !folders.isFilled()) {
      std::puts("startup_bench: no frame came");
      return 2;
    }
    ours.push_back(*one);
    floors.push_back(*floor);
    full.push_back(*withLibrary);
  }

  struct Line {
    const char* name;
    double Start::*field;
    const char* unit;
    double limit;
  };
  // The floor loads no QML of its own and writes no text: what that takes beside the rest of a
  // start differs between machines, from 1.7 to 2.7 times the floor on those that were tried.
  constexpr std::array lines = {
      Line{"start to first frame", &Start::firstFrame, "ms", 3.0},
      Line{"resident memory", &Start::resident, "MB", 2.0},
      Line{"processor time until idle", &Start::processor, "ms", 3.0},
      Line{"threads", &Start::threads, "", 2.0},
  };
  bool good = true;
  for (const Line& line : lines) {
    good &= report(line.name, median(ours, line.field), median(floors, line.field), line.unit,
                   line.limit);
  }
  const auto firstFrame = &Start::firstFrame;
  good &= report("first frame with 1,000 recordings, beside none", median(full, firstFrame),
                 median(ours, firstFrame), "ms", 1.2);
  return good ? 0 : 1;
}
