#include "support/x_hardware.h"

#include <cerrno>
#include <system_error>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xorg/xf86-input-inputtest-protocol.h>

namespace tapeloop::support {
namespace {

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// Which kind of packet each one is.
constexpr auto kind(const xf86ITEventClientVersion&) {
  return XF86IT_EVENT_CLIENT_VERSION;
}
constexpr auto kind(const xf86ITEventWaitForSync&) {
  return XF86IT_EVENT_WAIT_FOR_SYNC;
}
constexpr auto kind(const xf86ITEventMotion&) {
  return XF86IT_EVENT_MOTION;
}
constexpr auto kind(const xf86ITEventButton&) {
  return XF86IT_EVENT_BUTTON;
}
constexpr auto kind(const xf86ITEventKey&) {
  return XF86IT_EVENT_KEY;
}

template <typename Event>
void write(int socket, Event event) {
  event.header.length = sizeof event;
  event.header.type = kind(event);
  if (::send(socket, &event, sizeof event, MSG_NOSIGNAL) != sizeof event) fail("input device");
}

template <typename Response>
void awaitResponse(int socket) {
  Response response{};
  if (::recv(socket, &response, sizeof response, MSG_WAITALL) != sizeof response)
    fail("input device");
}

void setAxis(xf86ITEventMotion& motion, int axis, double value) {
  motion.valuators.mask[axis / 8] |= static_cast<std::uint8_t>(1U << (axis % 8));
  motion.valuators.valuators[axis] = value;
}

}  // namespace

XHardware::Device::Device(const std::string& socketPath)
    : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
  if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    fail("input device");
  xf86ITEventClientVersion version{};
  version.major = XF86IT_PROTOCOL_VERSION_MAJOR;
  version.minor = XF86IT_PROTOCOL_VERSION_MINOR;
  write(socket_, version);
  awaitResponse<xf86ITResponseServerVersion>(socket_);
}

XHardware::Device::~Device() {
  ::close(socket_);
}

template <typename Event>
void XHardware::Device::send(Event event) const {
  write(socket_, event);
  // Events of the two devices keep their order only if each is awaited.
  write(socket_, xf86ITEventWaitForSync{});
  awaitResponse<xf86ITResponseSyncFinished>(socket_);
}

XHardware::XHardware(const XServer& server)
    : XUser(server.display()),
      keyboard_(server.deviceSocket("keyboard")),
      mouse_(server.deviceSocket("mouse")) {}

void XHardware::post(const XAction& action) const {
  switch (action.kind) {
    case XEventKind::keyPress:
    case XEventKind::keyRelease: {
      xf86ITEventKey key{};
      key.key_code = action.detail;
      key.is_press = action.kind == XEventKind::keyPress ? 1 : 0;
      keyboard_.send(key);
      break;
    }
    case XEventKind::buttonPress:
    case XEventKind::buttonRelease: {
      const bool isPress = action.kind == XEventKind::buttonPress;
      if (action.detail >= 4 && action.detail <= 7) {
        // A wheel has no buttons: the server makes the press and the release of a notch.
        if (isPress) turnWheel(action.detail);
        break;
      }
      xf86ITEventButton button{};
      button.button = action.detail;
      button.is_press = isPress ? 1 : 0;
      mouse_.send(button);
      break;
    }
    case XEventKind::motion:
      move(action.x, action.y);
      break;
  }
}

void XHardware::move(int x, int y) const {
  // A mouse knows only how far it is moved, and others may have moved the pointer since.
  const auto& server = connection();
  const auto pointer =
      server.reply(xcb_query_pointer_reply, xcb_query_pointer(server, server.root()));
  xf86ITEventMotion motion{};
  setAxis(motion, 0, x - pointer->root_x);
  setAxis(motion, 1, y - pointer->root_y);
  mouse_.send(motion);
}

void XHardware::turnWheel(std::uint8_t button) const {
  constexpr double notch = 120;
  xf86ITEventMotion motion{};
  const bool isVertical = button <= 5;
  const bool isForward = button % 2 != 0;  // down, to the right
  setAxis(motion, isVertical ? 3 : 2, isForward ? notch : -notch);
  mouse_.send(motion);
}

}  // namespace tapeloop::support
