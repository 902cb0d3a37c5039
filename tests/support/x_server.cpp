#include "support/x_server.h"

#include <chrono>
#include <csignal>
#include <stdexcept>

namespace tapeloop::support {

using namespace std::chrono_literals;

namespace {

std::vector<std::string> commandLine(const XServerOptions& options) {
  // The server writes the number of the display that it found free to standard output. Without
  // "-noreset" it would forget monitors and layout whenever the last client leaves.
  const auto screen = std::to_string(options.width) + "x" + std::to_string(options.height) + "x24";
  std::vector<std::string> arguments{"Xvfb", "-displayfd", "1", "-noreset", "-nolisten",
                                     "tcp",  "-screen",    "0", screen};
  arguments.insert(arguments.end(), options.arguments.begin(), options.arguments.end());
  return arguments;
}

}  // namespace

XServer::XServer(const XServerOptions& options) : process_(commandLine(options)) {
  const auto number = process_.waitForLine(0, 20s);
  if (!number) throw std::runtime_error("the X server did not start");
  display_ = ":" + *number;
  setKeyboardLayout(options.layout);
}

void XServer::setMonitors(const std::vector<XMonitor>& monitors) {
  std::vector<std::string> command{"xrandr"};
  for (const auto& each : monitors) {
    // An output that belongs to no monitor makes one of its own: the first one gets it.
    const char* const output = monitors_.empty() ? "screen" : "none";
    monitors_.push_back("monitor-" + std::to_string(monitors_.size()));
    const auto length = [](int pixels) {
      return std::to_string(pixels) + '/' + std::to_string(pixels / 4);
    };
    const std::string geometry = length(each.width) + 'x' + length(each.height) + '+' +
                                 std::to_string(each.x) + '+' + std::to_string(each.y);
    const std::string name = (each.primary ? "*" : "") + monitors_.back();
    command.insert(command.end(), {"--setmonitor", name, geometry, output});
  }
  run(command);
}

void XServer::resize(int width, int height) {
  std::vector<std::string> command{"xrandr", "--output",
                                   "screen", "--off",
                                   "--fb",   std::to_string(width) + 'x' + std::to_string(height)};
  for (const auto& name : monitors_) command.insert(command.end(), {"--delmonitor", name});
  monitors_.clear();
  run(command);
}

void XServer::setKeyboardLayout(const std::string& layout, const std::string& option,
                                const std::string& variant) const {
  // An empty option first: setxkbmap adds to those that are in force.
  run({"setxkbmap", "-layout", layout, "-variant", variant, "-option", "", "-option", option});
}

void XServer::run(const std::vector<std::string>& command) const {
  ChildProcess process(command, {displayVariable()});
  if (process.wait(20s) != 0) throw std::runtime_error(command[0] + " failed");
}

void XServer::kill(int signal) {
  process_.kill(signal);
  if (!process_.wait(10s)) throw std::runtime_error("the X server does not end");
}

}  // namespace tapeloop::support
