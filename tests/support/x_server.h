#pragma once

#include <csignal>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/temporary_folder.h"

namespace tapeloop::support {

struct XMonitor {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  bool primary = false;
};

struct XServerOptions {
  int width = 1280;
  int height = 800;
  std::string layout = "us";
  /// Handed to the server as they are, for example {"-extension", "RECORD"}.
  std::vector<std::string> arguments{};
  /// With a keyboard and a mouse that a user moves (x_hardware.h). Only X.Org can have those.
  bool hardware = false;
};

/// An X server without a screen, on a display number of its own. It ends with this object. It is
/// Xvfb, or X.Org if the variable TAPELOOP_TEST_SERVER is "Xorg".
class XServer {
 public:
  /// Returns when the server accepts clients.
  explicit XServer(const XServerOptions& options = {});

  /// ":7"
  [[nodiscard]] const std::string& display() const { return display_; }
  /// "DISPLAY=:7", for the environment of a child process.
  [[nodiscard]] std::string displayVariable() const { return "DISPLAY=" + display_; }

  /// The name of the keyboard that is not XTEST's.
  [[nodiscard]] const char* keyboardName() const { return isXorg_ ? "keyboard" : "Xvfb keyboard"; }
  /// Where a user reaches a device of X.Org: "keyboard" or "mouse".
  [[nodiscard]] std::string deviceSocket(const std::string& device) const {
    return folder_.path() / device;
  }

  [[nodiscard]] pid_t pid() const { return process_.pid(); }

  /// Divides the screen into logical monitors.
  void setMonitors(const std::vector<XMonitor>& monitors);
  /// Another size of the whole screen, within the first one, with all outputs and monitors gone.
  void resize(int width, int height);
  /// For example "de", or "us,de" for two groups. Options as setxkbmap takes them.
  void setKeyboardLayout(const std::string& layout, const std::string& option = {},
                         const std::string& variant = {}) const;
  /// Runs a command on this display; throws when it fails.
  void run(const std::vector<std::string>& command) const;
  /// Takes the server away from under its clients. Returns when it is gone.
  void kill(int signal = SIGTERM);

 private:
  [[nodiscard]] const char* outputName() const { return isXorg_ ? "DUMMY0" : "screen"; }

  const bool isXorg_;
  TemporaryFolder folder_;
  ChildProcess process_;
  std::string display_;
  std::vector<std::string> monitors_;
};

}  // namespace tapeloop::support
