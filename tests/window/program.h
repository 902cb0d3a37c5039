#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/defaults_store.h"
#include "support/accessibility.h"
#include "support/child_process.h"
#include "support/temporary_folder.h"
#include "support/x_connection.h"
#include "support/x_poster.h"
#include "support/x_server.h"

namespace tapeloop::support {

inline constexpr std::chrono::seconds generousLimit{20};

/// Waits until the condition holds, for what tells of itself in no other way.
template <typename Condition>
[[nodiscard]] bool eventually(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + generousLimit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

/// Where the contents of a window are on the screen.
struct ClientWindow {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

/// A desktop with a window manager on a virtual X server.
class TestDesktop {
 public:
  explicit TestDesktop(const XServerOptions& options = {});

  [[nodiscard]] XServer& server() { return server_; }
  [[nodiscard]] const XPoster& user() const { return user_; }
  /// The user types Control+Alt with this key.
  void strike(const char* key) const;

  /// The managed windows of this title that are on the screen, the oldest first.
  [[nodiscard]] std::vector<ClientWindow> windows(const std::string& title) const;
  /// Waits until there are `count` of them.
  [[nodiscard]] bool waitForWindows(const std::string& title, std::size_t count) const;
  /// Waits until the one with this index has the input focus.
  [[nodiscard]] bool waitForFocus(const std::string& title, std::size_t index) const;
  /// Waits until no program holds the pointer, as one does while something is dragged or moved.
  [[nodiscard]] bool waitForFreePointer() const;
  /// The numbers that a property of the window with this index holds.
  [[nodiscard]] std::vector<std::uint32_t> property(const std::string& title, std::size_t index,
                                                    const std::string& name) const;
  [[nodiscard]] std::uint32_t atom(const std::string& name) const { return connection_.atom(name); }
  /// The colour of a point of the screen, as 0xRRGGBB.
  [[nodiscard]] std::uint32_t pixel(int x, int y) const;
  /// Asks the newest one to close, as the button of its frame does.
  void closeNewest(const std::string& title) const;
  /// Moves the newest one, as another program may.
  void moveNewest(const std::string& title, int x, int y) const;

 private:
  void askAboutNewest(const std::string& title, const char* what,
                      const std::array<std::uint32_t, 5>& data) const;
  [[nodiscard]] std::vector<xcb_window_t> managed(const std::string& title) const;
  [[nodiscard]] std::string titleOf(xcb_window_t window) const;

  XServer server_;
  ChildProcess windowManager_;
  XPoster user_;
  XConnection connection_;
};

/// Puts values into the store of a data folder before a program uses it; throws on failure.
void store(const std::filesystem::path& dataFolder,
           const std::vector<std::pair<std::string, DefaultsValue>>& values);

/// An application on the desktop, with a data folder of its own. Its lines are what it writes to
/// standard output and standard error.
class Application {
 public:
  Application(TestDesktop& desktop, const std::vector<std::string>& command,
              const std::optional<std::filesystem::path>& dataFolder = std::nullopt);

  [[nodiscard]] ChildProcess& process() { return process_; }
  /// Waits for this line.
  [[nodiscard]] bool writes(std::string_view line) {
    return process_.waitForLine(line, generousLimit);
  }
  [[nodiscard]] std::optional<int> exitCode() { return process_.wait(generousLimit); }

  /// What is on the screen with this name, as a screen reader finds it; waits for it, and throws at
  /// the limit.
  [[nodiscard]] Element named(const std::string& role, const std::string& name);
  /// Waits until nothing of this name is on the screen.
  [[nodiscard]] bool loses(const std::string& role, const std::string& name);
  /// What is to be read and acted on, from the program as a whole down.
  [[nodiscard]] Element accessible();

  /// Moves the pointer into the middle of an element.
  void point(const Element& element);
  /// And clicks there.
  void click(const Element& element);
  void click(const std::string& button) { click(named("push button", button)); }

 protected:
  [[nodiscard]] TestDesktop& desktop() { return desktop_; }

 private:
  TestDesktop& desktop_;
  TemporaryFolder folder_;
  ChildProcess process_;
  int aside_ = 3;  // changes sign with each press: two at one place would make a double click
};

/// The program itself. Its lines are those of the trace and its errors. A launcher is a command
/// that gives way to the one that follows it.
class Program : public Application {
 public:
  explicit Program(TestDesktop& desktop, const std::vector<std::string>& arguments = {},
                   const std::optional<std::filesystem::path>& dataFolder = std::nullopt,
                   const std::vector<std::string>& launcher = {});

  /// Waits until an event is captured whose line of the trace begins like this: "keyUp", for
  /// example.
  [[nodiscard]] bool captures(const std::string& what);
  /// What it said on standard error, one sentence each, in order.
  [[nodiscard]] std::vector<std::string> complaints();
  /// The record button, whatever it reads.
  [[nodiscard]] Element recordButton();
  /// Opens the settings by their button and waits until the sheet has slid to its place.
  [[nodiscard]] bool openSettings();
  /// Records a click that is aimed at nothing, by the names of the buttons alone.
  [[nodiscard]] bool recordsAClick();
  /// Types Control+Alt with this key for a field of the settings. False when it is not taken.
  [[nodiscard]] bool setShortcut(const std::string& field, const char* key);
};

}  // namespace tapeloop::support
