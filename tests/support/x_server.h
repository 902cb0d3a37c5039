#pragma once

#include <csignal>
#include <string>
#include <vector>

#include "support/child_process.h"

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
};

/// A virtual X server on a display number of its own. It ends with this object.
class XServer {
 public:
  /// Returns when the server accepts clients.
  explicit XServer(const XServerOptions& options = {});

  /// ":7"
  [[nodiscard]] const std::string& display() const { return display_; }
  /// "DISPLAY=:7", for the environment of a child process.
  [[nodiscard]] std::string displayVariable() const { return "DISPLAY=" + display_; }

  [[nodiscard]] pid_t pid() const { return process_.pid(); }

  /// Divides the screen into logical monitors.
  void setMonitors(const std::vector<XMonitor>& monitors);
  /// Another size of the whole screen, within the first one, with all outputs and monitors gone.
  void resize(int width, int height);
  /// For example "de", or "us,de" for two groups. Options as setxkbmap takes them.
  void setKeyboardLayout(const std::string& layout, const std::string& option = {},
                         const std::string& variant = {}) const;
  /// Takes the server away from under its clients. Returns when it is gone.
  void kill(int signal = SIGTERM);

 private:
  void run(const std::vector<std::string>& command) const;

  ChildProcess process_;
  std::string display_;
  std::vector<std::string> monitors_;
};

}  // namespace tapeloop::support
