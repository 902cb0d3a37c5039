#pragma once

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
#include "support/x_server.h"
#include "support/x_user.h"

namespace tapeloop::support {

inline constexpr std::chrono::seconds generousLimit{40};

/// Waits until the condition holds, by asking again and again.
template <typename Condition>
[[nodiscard]] bool eventually(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + generousLimit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

/// The rectangle of a window's content on the screen.
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
  [[nodiscard]] const XUser& user() const { return user_; }
  /// The user types Control+Alt with this key.
  void strike(const char* key) const { user_.strike({"Control_L", "Alt_L", key}); }

  /// The managed windows of this title that are on the screen, the oldest first.
  [[nodiscard]] std::vector<ClientWindow> windows(const std::string& title) const;
  /// The oldest of them; waits for it, and throws at the limit.
  [[nodiscard]] ClientWindow window(const std::string& title = "Tapeloop") const;
  /// Waits until there are `count` of them.
  [[nodiscard]] bool waitForWindows(const std::string& title, std::size_t count) const;
  /// Waits until the one with this index has the input focus.
  [[nodiscard]] bool waitForFocus(const std::string& title, std::size_t index) const;
  /// Waits until no program grabs the pointer, as during a drag or a move of a window.
  [[nodiscard]] bool waitForFreePointer() const;
  /// Waits until nothing on the screen has changed for a moment.
  [[nodiscard]] bool waitForRest() const;
  /// The numbers that a property of the window with this index holds.
  [[nodiscard]] std::vector<std::uint32_t> property(const std::string& title, std::size_t index,
                                                    const std::string& name) const;
  [[nodiscard]] std::uint32_t atom(const std::string& name) const { return connection_.atom(name); }
  /// The colour of a point of the screen, as 0xRRGGBB.
  [[nodiscard]] std::uint32_t pixel(int x, int y) const;
  /// Asks the newest window to close, as the button of its frame does.
  void closeNewest(const std::string& title) const;
  /// Moves the newest window.
  void moveNewest(const std::string& title, int x, int y) const;

 private:
  [[nodiscard]] std::vector<xcb_window_t> managed(const std::string& title) const;
  [[nodiscard]] XOwned<xcb_get_image_reply_t> image(const ClientWindow& area) const;

  XServer server_;
  ChildProcess windowManager_;
  XUser user_;
  XConnection connection_;
};

/// Puts values into the store of a data folder before a program uses it; throws on failure.
void store(const std::filesystem::path& dataFolder,
           const std::vector<std::pair<std::string, DefaultsValue>>& values);

/// The text of a list of recordings with these titles.
[[nodiscard]] std::string listOf(const std::vector<std::string>& titles);

/// The start of a command for a program that file modes restrict. Root ignores them, so as root it
/// drops those capabilities; otherwise it is empty.
[[nodiscard]] std::vector<std::string> asOrdinaryUser();

/// An application on the desktop, with a data folder of its own. Its lines are what it writes to
/// standard output and standard error. What can't be done throws.
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

  /// What is on the screen with this name, as a screen reader finds it; waits for it.
  [[nodiscard]] Element named(Role role, const std::string& name);
  /// Waits until nothing of this name is on the screen.
  [[nodiscard]] bool loses(Role role, const std::string& name);
  /// Waits until the element of this name has the keyboard focus.
  [[nodiscard]] bool focuses(const std::string& name);
  /// The root of its accessible elements; waits for it.
  [[nodiscard]] Element accessible();

  /// Presses a button without pointer and keyboard.
  void press(const std::string& button);
  /// Moves the pointer into the middle of an element.
  void point(const Element& element);
  /// Clicks near the middle of an element.
  void click(const Element& element);
  void click(const std::string& button) { click(named(Role::button, button)); }

 protected:
  [[nodiscard]] TestDesktop& desktop() { return desktop_; }

 private:
  [[nodiscard]] std::optional<Element> find(Role role, const std::string& name);

  TestDesktop& desktop_;
  TemporaryFolder folder_;
  ChildProcess process_;
  int aside_ = 3;  // changes sign with each click: two at one place would make a double click
};

/// The program itself. Its lines are its trace and its errors. A launcher is a command that
/// executes the arguments after it, such as "env".
class Program : public Application {
 public:
  explicit Program(TestDesktop& desktop, const std::vector<std::string>& arguments = {},
                   const std::optional<std::filesystem::path>& dataFolder = std::nullopt,
                   const std::vector<std::string>& launcher = {});

  /// Waits until an event is captured whose line of the trace begins like this: "keyUp", for
  /// example.
  [[nodiscard]] bool captures(const std::string& what);
  /// How many of these have been captured by now, or of all.
  [[nodiscard]] std::size_t captureCount(const std::string& what = {});
  /// What it said on standard error, one sentence each, in order.
  [[nodiscard]] std::vector<std::string> complaints();
  /// Dismisses the alert that comes; what it says.
  [[nodiscard]] std::string dismissAlert();
  /// Presses the button of its window, and waits for the end.
  [[nodiscard]] std::optional<int> close();

  /// The record button, whatever it reads.
  [[nodiscard]] Element recordButton();
  void startCapture() { pressRecord("Recording: true"); }
  void stopCapture() { pressRecord("Recording: false"); }
  /// Records a click that is aimed at nothing.
  void recordClick();
  /// Presses the button for it, and waits for the row.
  void saveRecording();

  /// Opens the settings by their button and waits until the sheet has slid to its place.
  void openSettings();
  /// Waits until a field of the settings says this of itself.
  [[nodiscard]] bool says(const std::string& field, const std::string& what);
  /// Types Control+Alt with this key for a field.
  void setShortcut(const std::string& field, const char* key);
  void saveSettings();
  /// Qt tells the accessibility bus of no item that it is disabled.
  [[nodiscard]] static bool isOn(const Element& element) {
    return !element.description().ends_with("Unavailable");
  }

 private:
  void pressRecord(const char* line);
};

}  // namespace tapeloop::support
