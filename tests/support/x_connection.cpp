#include "support/x_connection.h"

#include <stdexcept>
#include <string_view>

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
  const XOwned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
      connection_,
      xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
      nullptr));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void XConnection::sync() const {
  const XOwned<xcb_get_input_focus_reply_t> reply(
      xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

void XConnection::check(xcb_void_cookie_t cookie, const char* what) const {
  const XOwned<xcb_generic_error_t> error(xcb_request_check(connection_, cookie));
  if (error) {
    throw std::runtime_error(std::string(what) + ": X error " + std::to_string(error->error_code));
  }
}

std::uint16_t inputDevice(const XConnection& connection, const std::string& name) {
  const XOwned<xcb_input_xi_query_version_reply_t> version(xcb_input_xi_query_version_reply(
      connection, xcb_input_xi_query_version(connection, 2, 2), nullptr));
  const XOwned<xcb_input_xi_query_device_reply_t> reply(xcb_input_xi_query_device_reply(
      connection, xcb_input_xi_query_device(connection, XCB_INPUT_DEVICE_ALL), nullptr));
  if (!reply) throw std::runtime_error("no list of input devices");
  for (auto device = xcb_input_xi_query_device_infos_iterator(reply.get()); device.rem > 0;
       xcb_input_xi_device_info_next(&device)) {
    const std::string_view found(xcb_input_xi_device_info_name(device.data), device.data->name_len);
    if (found == name) return device.data->deviceid;
  }
  throw std::runtime_error("no input device " + name);
}

}  // namespace tapeloop::support
