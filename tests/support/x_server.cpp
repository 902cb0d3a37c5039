#include "support/x_server.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <stdexcept>

#include <sys/uio.h>
#include <xcb/randr.h>
#include <xcb/xcbext.h>

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

/// The library's own function for this request aborts the process (libxcb 1.15 counts its parts
/// wrongly), so that the request is put together here.
void setMonitor(const XConnection& connection, const std::string& name, const XMonitor& monitor,
                xcb_randr_output_t output) {
  struct {
    xcb_randr_set_monitor_request_t header{};
    xcb_randr_monitor_info_t info{};
    xcb_randr_output_t output{};
  } request;
  request.header.window = connection.root();
  request.info.name = connection.atom(name);
  request.info.primary = monitor.primary ? 1 : 0;
  request.info.nOutput = output == XCB_NONE ? 0 : 1;
  request.info.x = monitor.x;
  request.info.y = monitor.y;
  request.info.width = monitor.width;
  request.info.height = monitor.height;
  request.info.width_in_millimeters = monitor.width / 4U;
  request.info.height_in_millimeters = monitor.height / 4U;
  request.output = output;

  const xcb_protocol_request_t protocol{1, &xcb_randr_id, XCB_RANDR_SET_MONITOR, 1};
  // XCB writes to the two entries before the first one.
  std::array<iovec, 3> parts{};
  parts[2] = {&request, sizeof request - (output == XCB_NONE ? sizeof output : 0)};
  xcb_send_request(connection, 0, &parts[2], &protocol);
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
    setMonitor(connection, "monitor-" + std::to_string(index), monitor,
               index == 0 ? output : xcb_randr_output_t{XCB_NONE});
    ++index;
  }
  connection.sync();
}

void XServer::resize(std::uint16_t width, std::uint16_t height) const {
  const XConnection connection(display_);
  const XOwned<xcb_randr_get_screen_resources_reply_t> resources(
      xcb_randr_get_screen_resources_reply(
          connection, xcb_randr_get_screen_resources(connection, connection.root()), nullptr));
  if (!resources) throw std::runtime_error("no outputs");
  const auto* crtcs = xcb_randr_get_screen_resources_crtcs(resources.get());
  for (int i = 0; i < resources->num_crtcs; ++i) {
    const XOwned<xcb_randr_set_crtc_config_reply_t> off(xcb_randr_set_crtc_config_reply(
        connection,
        xcb_randr_set_crtc_config(connection, crtcs[i], XCB_CURRENT_TIME,
                                  resources->config_timestamp, 0, 0, XCB_NONE,
                                  XCB_RANDR_ROTATION_ROTATE_0, 0, nullptr),
        nullptr));
    if (!off) throw std::runtime_error("the output does not go off");
  }
  const XOwned<xcb_randr_get_monitors_reply_t> monitors(xcb_randr_get_monitors_reply(
      connection, xcb_randr_get_monitors(connection, connection.root(), 0), nullptr));
  if (!monitors) throw std::runtime_error("no monitors");
  for (auto i = xcb_randr_get_monitors_monitors_iterator(monitors.get()); i.rem > 0;
       xcb_randr_monitor_info_next(&i)) {
    if (!i.data->automatic) xcb_randr_delete_monitor(connection, connection.root(), i.data->name);
  }
  connection.check(xcb_randr_set_screen_size_checked(connection, connection.root(), width, height,
                                                     width / 4U, height / 4U),
                   "resizing the screen");
}

void XServer::setKeyboardLayout(const std::string& layout) const {
  ChildProcess setter({"setxkbmap", "-display", display_, "-layout", layout});
  if (setter.wait(20s) != 0) throw std::runtime_error("no keyboard layout " + layout);
}

void XServer::kill(int signal) {
  process_.kill(signal);
  if (!process_.wait(10s)) throw std::runtime_error("the X server does not end");
}

}  // namespace tapeloop::support
