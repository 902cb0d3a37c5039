#include "support/x_state.h"

#include <array>
#include <cstring>
#include <stdexcept>

#include <sys/uio.h>
#include <xcb/xcbext.h>
#include <xcb/xinput.h>

// A field of this header bears a C++ keyword as its name.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

#include "support/x_connection.h"

namespace tapeloop::support {
namespace {

void useXkb(const XConnection& connection) {
  const auto xkb =
      connection.reply(xcb_xkb_use_extension_reply, xcb_xkb_use_extension(connection, 1, 0));
  if (!xkb || xkb->supported == 0) throw std::runtime_error("the X server has no XKB");
}

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

std::vector<std::uint8_t> keysDown(const std::string& display) {
  const XConnection connection(display);
  const auto state = connection.reply(xcb_query_keymap_reply, xcb_query_keymap(connection));
  if (!state) throw std::runtime_error("no state of the keys");
  std::vector<std::uint8_t> down;
  for (int keycode = 0; keycode < 256; ++keycode) {
    if ((state->keys[keycode / 8] >> (keycode % 8) & 1) != 0) {
      down.push_back(static_cast<std::uint8_t>(keycode));
    }
  }
  return down;
}

XPointer pointerState(const std::string& display) {
  const XConnection connection(display);
  const auto state =
      connection.reply(xcb_query_pointer_reply, xcb_query_pointer(connection, connection.root()));
  if (!state) throw std::runtime_error("no state of the pointer");
  XPointer pointer{
      state->root_x, state->root_y, {}, static_cast<std::uint16_t>(state->mask & 0xFF)};
  for (int button = 1; button <= 5; ++button) {
    if ((state->mask >> (7 + button) & 1) != 0) {
      pointer.buttonsDown.push_back(static_cast<std::uint8_t>(button));
    }
  }
  return pointer;
}

XRepeat repeatOf(const std::string& display, const std::string& device) {
  const XConnection connection(display);
  useXkb(connection);
  const auto id = inputDevice(connection, device);
  const auto controls =
      connection.reply(xcb_xkb_get_controls_reply, xcb_xkb_get_controls(connection, id));
  if (!controls) throw std::runtime_error("no controls of " + device);
  return {(controls->enabledControls & XCB_XKB_BOOL_CTRL_REPEAT_KEYS) != 0, controls->repeatDelay,
          controls->repeatInterval};
}

void setRepeatRate(const std::string& display, int delay, int interval) {
  const XConnection connection(display);
  useXkb(connection);
  const std::array<std::uint8_t, 32> perKey{};
  connection.check(
      xcb_xkb_set_controls_checked(
          connection, XCB_XKB_ID_USE_CORE_KBD, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
          XCB_XKB_BOOL_CTRL_REPEAT_KEYS, static_cast<std::uint16_t>(delay),
          static_cast<std::uint16_t>(interval), 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, perKey.data()),
      "setting the rate of repeats");
}

void setRepeatsKeys(const std::string& display, const std::string& device, bool repeats) {
  const XConnection connection(display);
  useXkb(connection);
  const auto id = inputDevice(connection, device);
  const std::array<std::uint8_t, 32> perKey{};
  const std::uint32_t bit = XCB_XKB_BOOL_CTRL_REPEAT_KEYS;
  connection.check(
      xcb_xkb_set_controls_checked(connection, id, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, bit,
                                   repeats ? bit : 0, XCB_XKB_CONTROL_CONTROLS_ENABLED, 0, 0, 0, 0,
                                   0, 0, 0, 0, 0, 0, 0, 0, 0, 0, perKey.data()),
      "setting key repeat");
}

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
  (void)inputDevice(connection, "Virtual core pointer");  // announces the version of XInput, too
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
