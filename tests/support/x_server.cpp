#include "support/x_server.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace tapeloop::support {

using namespace std::chrono_literals;

namespace {

// The two servers share everything above the drivers. What differs for a test:
// - The output is "screen" on Xvfb. On X.Org it is "DUMMY0", and the primary one.
// - X.Org's devices are a keyboard and a mouse that a user can move; those of Xvfb do nothing. The
//   mouse has an axis for each wheel, from which the server makes the buttons 4 to 7.
// - X.Org starts with an older table of keycodes, in which the arrow keys and many others differ:
//   setxkbmap needs the rules as an argument.
bool isXorgWanted(const XServerOptions& options) {
  const char* const server = std::getenv("TAPELOOP_TEST_SERVER");
  return options.hardware || (server != nullptr && std::string_view(server) == "Xorg");
}

std::vector<std::string> xvfb(const XServerOptions& options) {
  const auto screen = std::to_string(options.width) + "x" + std::to_string(options.height) + "x24";
  return {"Xvfb", "-screen", "0", screen};
}

/// A mode for the whole screen, and the devices. Nothing of the machine's own is used.
void writeConfiguration(const std::filesystem::path& folder, const XServerOptions& options) {
  std::ofstream file(folder / "xorg.conf");
  const auto device = [&](const char* name, const char* type) {
    file << "Section \"InputDevice\"\n  Identifier \"" << name << "\"\n  Driver \"inputtest\"\n"
         << "  Option \"DeviceType\" \"" << type << "\"\n"
         << "  Option \"SocketPath\" \"" << (folder / name).string() << "\"\n"
         << "  Option \"AccelerationScheme\" \"none\"\nEndSection\n";
  };
  device("keyboard", "Keyboard");
  device("mouse", "Pointer");
  const int width = options.width;
  const int height = options.height;
  const auto timings = [&file](int pixels) {
    file << ' ' << pixels << ' ' << pixels + 8 << ' ' << pixels + 16 << ' ' << pixels + 24;
  };
  file << R"(Section "ServerFlags"
  Option "AutoAddDevices" "false"
  Option "AutoAddGPU" "false"
EndSection
Section "Module"
  Disable "glx"
EndSection
Section "Device"
  Identifier "card"
  Driver "dummy"
  VideoRam 65536
EndSection
Section "Monitor"
  Identifier "monitor"
  HorizSync 1-1000
  VertRefresh 1-1000
  Modeline "screen" 60)";
  timings(width);
  timings(height);
  file << R"(
EndSection
Section "Screen"
  Identifier "screen"
  Device "card"
  Monitor "monitor"
  DefaultDepth 24
  SubSection "Display"
    Modes "screen"
    Virtual )"
       << width << ' ' << height << R"(
  EndSubSection
EndSection
Section "ServerLayout"
  Identifier "all"
  Screen "screen"
  InputDevice "keyboard"
  InputDevice "mouse"
EndSection
)";
}

std::vector<std::string> xorg(const XServerOptions& options, const std::filesystem::path& folder) {
  writeConfiguration(folder, options);
  // The full path, since "Xorg" in PATH may be a wrapper that only users at a console may run.
  return {"/usr/lib/xorg/Xorg", "-config",      folder / "xorg.conf", "-configdir", folder,
          "-logfile",           folder / "log", "-novtswitch",        "-quiet"};
}

std::vector<std::string> commandLine(const XServerOptions& options, bool isXorg,
                                     const std::filesystem::path& folder) {
  auto arguments = isXorg ? xorg(options, folder) : xvfb(options);
  // The server writes the number of the display that it found free to standard output. Without
  // "-noreset" it would forget monitors and layout whenever the last client leaves.
  arguments.insert(arguments.end(), {"-displayfd", "1", "-noreset", "-nolisten", "tcp"});
  arguments.insert(arguments.end(), options.arguments.begin(), options.arguments.end());
  return arguments;
}

}  // namespace

XServer::XServer(const XServerOptions& options)
    : isXorg_(isXorgWanted(options)), process_(commandLine(options, isXorg_, folder_.path())) {
  const auto number = process_.waitForLine(0, 20s);
  if (!number) throw std::runtime_error("the X server did not start");
  display_ = ":" + *number;
  setKeyboardLayout(options.layout);
}

void XServer::setMonitors(const std::vector<XMonitor>& monitors) {
  // While X.Org's output is the primary one, the signs are shown on another monitor.
  std::vector<std::string> command{"xrandr", "--noprimary"};
  for (const auto& each : monitors) {
    // An output that belongs to no monitor makes one of its own: the first one gets it.
    const char* const output = monitors_.empty() ? outputName() : "none";
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
  std::vector<std::string> command{
      "xrandr", "--output", outputName(),
      "--off",  "--fb",     std::to_string(width) + 'x' + std::to_string(height)};
  for (const auto& name : monitors_) command.insert(command.end(), {"--delmonitor", name});
  monitors_.clear();
  run(command);
}

void XServer::setKeyboardLayout(const std::string& layout, const std::string& option,
                                const std::string& variant) const {
  // An empty option first: setxkbmap adds to those that are in force.
  run({"setxkbmap", "-rules", "evdev", "-layout", layout, "-variant", variant, "-option", "",
       "-option", option});
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
