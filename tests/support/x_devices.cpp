#include "support/x_devices.h"

#include <array>
#include <cstring>

#include <sys/uio.h>
#include <xcb/xcbext.h>
#include <xcb/xinput.h>

#include "support/x_connection.h"

namespace tapeloop::support {
namespace {

/// The library has a function for this request whose argument is only the fixed head of the change.
template <typename Change>
void changeHierarchy(const XConnection& connection, const Change& change) {
  struct {
    xcb_input_xi_change_hierarchy_request_t header{};
    Change change{};
  } request;
  request.header.num_changes = 1;
  request.change = change;
  const xcb_protocol_request_t protocol{1, &xcb_input_id, XCB_INPUT_XI_CHANGE_HIERARCHY, 1};
  // XCB writes to the two entries before the first one.
  std::array<iovec, 3> parts{};
  parts[2] = {&request, sizeof request};
  const unsigned sequence = xcb_send_request(connection, XCB_REQUEST_CHECKED, &parts[2], &protocol);
  connection.check({sequence}, "changing the input devices");
}

constexpr std::uint16_t words(std::size_t bytes) {
  return static_cast<std::uint16_t>(bytes / 4);
}

}  // namespace

void addMasterDevices(const std::string& display, const std::string& name) {
  const XConnection connection(display);
  // Room for one name; a shorter one leaves zeros at its end.
  struct Change {
    xcb_input_add_master_t head{};
    std::array<char, 8> name{};
  } change;
  change.head.type = XCB_INPUT_HIERARCHY_CHANGE_TYPE_ADD_MASTER;
  change.head.len = words(sizeof change);
  change.head.name_len = static_cast<std::uint16_t>(name.copy(change.name.data(), 8));
  change.head.send_core = 1;
  change.head.enable = 1;
  (void)inputDevice(connection, "Virtual core pointer");  // tells the server the version, too
  changeHierarchy(connection, change);
}

void removeMasterDevices(const std::string& display, const std::string& name) {
  const XConnection connection(display);
  xcb_input_remove_master_t change{};
  change.type = XCB_INPUT_HIERARCHY_CHANGE_TYPE_REMOVE_MASTER;
  change.len = words(sizeof change);
  change.deviceid = inputDevice(connection, name + " pointer");
  change.return_mode = XCB_INPUT_CHANGE_MODE_FLOAT;
  changeHierarchy(connection, change);
}

void detachDevice(const std::string& display, const std::string& device) {
  const XConnection connection(display);
  xcb_input_detach_slave_t change{};
  change.type = XCB_INPUT_HIERARCHY_CHANGE_TYPE_DETACH_SLAVE;
  change.len = words(sizeof change);
  change.deviceid = inputDevice(connection, device);
  changeHierarchy(connection, change);
}

}  // namespace tapeloop::support
