#include "support/x_server.h"

#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <stdexcept>

#include <xcb/randr.h>

#include "support/x_connection.h"

namespace tapeloop::support {

using namespace std::chrono_literals;

namespace {

std::vector<std::string> commandLine(const XServerOptions& options) {
  // The server writes the number of the display that it found free to standard output. Without
  // "-noreset" it would forget monitors and layout whenever the last client leaves.
  std::vector<std::string> arguments{
      "Xvfb",
      "-displayfd",
      "1",
      "-noreset",
      "-nolisten",
      "tcp",
      "-screen",
      "0",
      std::to_string(options.width) + "x" + std::to_string(options.height) + "x24"};
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

void XServer::setMonitors(const std::vector<XMonitor>& monitors) const {
  const XConnection connection(display_);
  const XOwned<xcb_randr_query_version_reply_t> version(xcb_randr_query_version_reply(
      connection, xcb_randr_query_version(connection, 1, 5), nullptr));
  const XOwned<xcb_randr_get_screen_resources_reply_t> resources(
      xcb_randr_get_screen_resources_reply(
          connection, xcb_randr_get_screen_resources(connection, connection.root()), nullptr));
  if (!resources || resources->num_outputs < 1) throw std::runtime_error("no output to divide");
  const auto output = *xcb_randr_get_screen_resources_outputs(resources.get());

  std::size_t index = 0;
  for (const auto& monitor : monitors) {
    // An output that belongs to no monitor makes one of its own: the first one gets it.
    const std::uint16_t outputs = index == 0 ? 1 : 0;
    std::vector<std::byte> request(sizeof(xcb_randr_monitor_info_t) +
                                   outputs * sizeof(xcb_randr_output_t));
    xcb_randr_monitor_info_t info{};
    info.name = connection.atom("monitor-" + std::to_string(index));
    info.primary = monitor.primary ? 1 : 0;
    info.nOutput = outputs;
    info.x = monitor.x;
    info.y = monitor.y;
    info.width = monitor.width;
    info.height = monitor.height;
    info.width_in_millimeters = monitor.width / 4U;
    info.height_in_millimeters = monitor.height / 4U;
    std::memcpy(request.data(), &info, sizeof info);
    if (outputs > 0) std::memcpy(request.data() + sizeof info, &output, sizeof output);
    connection.check(
        xcb_randr_set_monitor_checked(
            connection, connection.root(),
            // NOLINTNEXTLINE: XCB takes a structure with its list behind it, const or not.
            reinterpret_cast<xcb_randr_monitor_info_t*>(request.data())),
        "setting a monitor");
    ++index;
  }
}

void XServer::setKeyboardLayout(const std::string& layout) const {
  ChildProcess setter({"setxkbmap", "-display", display_, "-layout", layout});
  if (setter.wait(20s) != 0) throw std::runtime_error("no keyboard layout " + layout);
}

void XServer::kill() {
  process_.kill(SIGTERM);
  if (!process_.wait(10s)) throw std::runtime_error("the X server does not end");
}

}  // namespace tapeloop::support
