#pragma once

#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

#include "support/child_process.h"

namespace tapeloop::support {

struct XMonitor {
  std::int16_t x = 0;
  std::int16_t y = 0;
  std::uint16_t width = 0;
  std::uint16_t height = 0;
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
  void setMonitors(const std::vector<XMonitor>& monitors) const;
  /// Another size of the whole screen, within the first one, with all outputs and monitors gone.
  void resize(std::uint16_t width, std::uint16_t height) const;
  /// For example "de", or "us,de" for two groups.
  void setKeyboardLayout(const std::string& layout) const;
  /// Takes the server away from under its clients. Returns when it is gone.
  void kill(int signal = SIGTERM);

 private:
  ChildProcess process_;
  std::string display_;
};

}  // namespace tapeloop::support
