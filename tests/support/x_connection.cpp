#include "support/x_connection.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <xcb/xinput.h>

namespace tapeloop::support {

XConnection::XConnection(const std::string& display)
    : connection_(xcb_connect(display.c_str(), nullptr)) {
  if (isBroken()) {
    xcb_disconnect(connection_);
    throw std::runtime_error("no connection to X display " + display);
  }
  screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
}

xcb_atom_t XConnection::atom(const std::string& name) const {
  const auto answer =
      reply(xcb_intern_atom_reply,
            xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.c_str()));
  return answer ? answer->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void XConnection::sync() const {
  (void)reply(xcb_get_input_focus_reply, xcb_get_input_focus(connection_));
}

void XConnection::check(xcb_void_cookie_t cookie, const char* what) const {
  const XOwned<xcb_generic_error_t> error(xcb_request_check(connection_, cookie));
  if (error) {
    throw std::runtime_error(std::string(what) + ": X error " + std::to_string(error->error_code));
  }
}

XReader::XReader(std::vector<const XConnection*> connections, std::function<void()> read)
    : stop_(::eventfd(0, EFD_CLOEXEC)),
      thread_([stop = stop_, connections = std::move(connections), read = std::move(read)] {
        std::vector<pollfd> sources{{stop, POLLIN, 0}};
        for (const auto* each : connections) sources.push_back({each->descriptor(), POLLIN, 0});
        do {
          read();
          if (std::ranges::any_of(connections, &XConnection::isBroken)) return;
          ::poll(sources.data(), sources.size(), -1);
        } while (sources[0].revents == 0);
      }) {}

XReader::~XReader() {
  ::eventfd_write(stop_, 1);
  thread_.join();
  ::close(stop_);
}

std::uint16_t inputDevice(const XConnection& connection, const std::string& name) {
  (void)connection.reply(xcb_input_xi_query_version_reply,
                         xcb_input_xi_query_version(connection, 2, 2));
  const auto devices = connection.reply(
      xcb_input_xi_query_device_reply, xcb_input_xi_query_device(connection, XCB_INPUT_DEVICE_ALL));
  if (!devices) throw std::runtime_error("no list of input devices");
  for (auto device = xcb_input_xi_query_device_infos_iterator(devices.get()); device.rem > 0;
       xcb_input_xi_device_info_next(&device)) {
    const std::string_view found(xcb_input_xi_device_info_name(device.data), device.data->name_len);
    if (found == name) return device.data->deviceid;
  }
  throw std::runtime_error("no input device " + name);
}

}  // namespace tapeloop::support
