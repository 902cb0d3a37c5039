#include "support/x_user.h"

#include <array>
#include <cerrno>
#include <ctime>
#include <ranges>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <sys/socket.h>
#include <sys/timerfd.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon.h>
#include <xorg/xf86-input-inputtest-protocol.h>

#include "support/x_server.h"

namespace tapeloop::support {
namespace {

[[noreturn]] void fail() {
  throw std::system_error(errno, std::generic_category(), "input device");
}

template <typename Packet>
void write(int socket, xf86ITEventType type, Packet packet) {
  packet.header.length = sizeof packet;
  packet.header.type = type;
  if (::send(socket, &packet, sizeof packet, MSG_NOSIGNAL) != sizeof packet) fail();
}

template <typename Response>
void awaitResponse(int socket) {
  Response response{};
  if (::recv(socket, &response, sizeof response, MSG_WAITALL) != sizeof response) fail();
}

/// The other end of one input device of X.Org.
class Device {
 public:
  explicit Device(const std::string& socketPath)
      : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
    if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
      fail();
    xf86ITEventClientVersion version{};
    version.major = XF86IT_PROTOCOL_VERSION_MAJOR;
    version.minor = XF86IT_PROTOCOL_VERSION_MINOR;
    write(socket_, XF86IT_EVENT_CLIENT_VERSION, version);
    awaitResponse<xf86ITResponseServerVersion>(socket_);
  }
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;
  ~Device() { ::close(socket_); }

  template <typename Event>
  void send(xf86ITEventType type, const Event& event) const {
    write(socket_, type, event);
    // Events of the two devices keep their order only if each is awaited.
    write(socket_, XF86IT_EVENT_WAIT_FOR_SYNC, xf86ITEventWaitForSync{});
    awaitResponse<xf86ITResponseSyncFinished>(socket_);
  }

 private:
  const int socket_;
};

}  // namespace

struct XUser::Hardware {
  explicit Hardware(const XServer& server)
      : keyboard(server.deviceSocket("keyboard")), mouse(server.deviceSocket("mouse")) {}

  void moveAxes(int axis, const std::vector<double>& values) const {
    xf86ITEventMotion motion{};
    for (const double value : values) {
      motion.valuators.mask[axis / 8] |= static_cast<std::uint8_t>(1U << (axis % 8));
      motion.valuators.valuators[axis++] = value;
    }
    mouse.send(XF86IT_EVENT_MOTION, motion);
  }

  void post(const XAction& action, const XConnection& server) const {
    switch (action.kind) {
      case XEventKind::keyPress:
      case XEventKind::keyRelease: {
        xf86ITEventKey key{};
        key.key_code = action.detail;
        key.is_press = action.kind == XEventKind::keyPress ? 1 : 0;
        keyboard.send(XF86IT_EVENT_KEY, key);
        break;
      }
      case XEventKind::buttonPress:
      case XEventKind::buttonRelease: {
        const bool isPress = action.kind == XEventKind::buttonPress;
        if (action.detail >= 4 && action.detail <= 7) {
          // A wheel has axes and no buttons: the server makes the press and the release of a notch.
          constexpr double notch = 120;
          const bool isForward = action.detail % 2 != 0;  // down, to the right
          if (isPress) moveAxes(action.detail <= 5 ? 3 : 2, {isForward ? notch : -notch});
          break;
        }
        xf86ITEventButton button{};
        button.button = action.detail;
        button.is_press = isPress ? 1 : 0;
        mouse.send(XF86IT_EVENT_BUTTON, button);
        break;
      }
      case XEventKind::motion: {
        // A mouse knows only how far it is moved, and others may have moved the pointer since.
        const auto pointer =
            server.reply(xcb_query_pointer_reply, xcb_query_pointer(server, server.root()));
        moveAxes(0, {double(action.x - pointer->root_x), double(action.y - pointer->root_y)});
        break;
      }
    }
  }

  Device keyboard;
  Device mouse;
};

XUser::XUser(const std::string& display) : connection_(display) {}
XUser::XUser(const XServer& server)
    : connection_(server.display()), hardware_(std::make_unique<Hardware>(server)) {}
XUser::~XUser() = default;

void XUser::post(const XAction& action) const {
  if (hardware_) return hardware_->post(action, connection_);
  xcb_test_fake_input(
      connection_, static_cast<std::uint8_t>(action.kind), action.detail, XCB_CURRENT_TIME,
      action.kind == XEventKind::motion ? connection_.root() : XCB_NONE, action.x, action.y, 0);
}

void XUser::postNow(XEventKind kind, std::uint8_t detail) const {
  post({kind, detail});
  sync();
}

void XUser::moveTo(int x, int y) const {
  post({XEventKind::motion, 0, static_cast<std::int16_t>(x), static_cast<std::int16_t>(y)});
  sync();
}

void XUser::click(std::uint8_t button) const {
  press(button);
  release(button);
}

void XUser::tapKey(std::uint8_t keycode) const {
  pressKey(keycode);
  releaseKey(keycode);
}

void XUser::strike(const std::vector<std::string_view>& keysyms, int times) const {
  const auto actions = striking(keysyms);
  for (; times > 0; --times) {
    for (const auto& action : actions) post(action);
  }
  sync();
}

void XUser::typeText(std::string_view text) const {
  for (const auto& action : typing(text)) post(action);
  sync();
}

std::uint8_t XUser::keycode(std::string_view keysym) const {
  const auto symbol = xkb_keysym_from_name(std::string(keysym).c_str(), XKB_KEYSYM_NO_FLAGS);
  return find(symbol).keycode;
}

std::vector<XAction> XUser::typing(std::string_view text) const {
  const auto shift = keycode("Shift_L");
  std::vector<XAction> actions;
  for (const char character : text) {
    // Latin-1 characters are their own keysyms.
    const auto key = find(static_cast<std::uint8_t>(character));
    const auto level3 = key.level3 ? keycode("ISO_Level3_Shift") : std::uint8_t{0};
    if (key.shift) actions.push_back({XEventKind::keyPress, shift});
    if (key.level3) actions.push_back({XEventKind::keyPress, level3});
    actions.push_back({XEventKind::keyPress, key.keycode});
    actions.push_back({XEventKind::keyRelease, key.keycode});
    if (key.level3) actions.push_back({XEventKind::keyRelease, level3});
    if (key.shift) actions.push_back({XEventKind::keyRelease, shift});
  }
  return actions;
}

std::vector<XAction> XUser::striking(const std::vector<std::string_view>& keysyms) const {
  std::vector<XAction> actions;
  for (const auto key : keysyms) actions.push_back({XEventKind::keyPress, keycode(key)});
  for (const auto key : std::views::reverse(keysyms)) {
    actions.push_back({XEventKind::keyRelease, keycode(key)});
  }
  return actions;
}

void XUser::run(const std::vector<XAction>& actions) const {
  const int timer = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
  const std::int64_t start = monotonicNow();
  for (const auto& action : actions) {
    const std::int64_t due = start + action.offset.count();
    if (due > monotonicNow()) {
      // An absolute timerfd is not subject to the slack of the sleeping calls.
      itimerspec at{};
      at.it_value.tv_sec = due / 1'000'000'000;
      at.it_value.tv_nsec = due % 1'000'000'000;
      ::timerfd_settime(timer, TFD_TIMER_ABSTIME, &at, nullptr);
      std::uint64_t expirations = 0;
      while (::read(timer, &expirations, sizeof expirations) < 0 && errno == EINTR) continue;
    }
    post(action);
    flush();
  }
  ::close(timer);
}

std::jthread XUser::start(std::vector<XAction> actions) const {
  return std::jthread([this, actions = std::move(actions)] { run(actions); });
}

XUser::Key XUser::find(xcb_keysym_t keysym) const {
  const auto* setup = xcb_get_setup(connection_);
  const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
  const auto mapping =
      connection_.reply(xcb_get_keyboard_mapping_reply,
                        xcb_get_keyboard_mapping(connection_, setup->min_keycode, count));
  if (!mapping) throw std::runtime_error("no keyboard mapping");
  const auto* symbols = xcb_get_keyboard_mapping_keysyms(mapping.get());
  const int columns = mapping->keysyms_per_keycode;
  // The core mapping of one keyboard group: plain, Shift, and from column 4 on with level 3.
  static constexpr std::array<std::pair<int, Key>, 4> levels{
      {{0, {}}, {1, {0, true, false}}, {4, {0, false, true}}, {5, {0, true, true}}}};
  for (const auto& [column, level] : levels) {
    if (column >= columns) break;
    for (int index = 0; index < count; ++index) {
      if (symbols[index * columns + column] != keysym) continue;
      Key key = level;
      key.keycode = static_cast<std::uint8_t>(setup->min_keycode + index);
      return key;
    }
  }
  throw std::runtime_error("no key bears keysym " + std::to_string(keysym));
}

void pace(std::vector<XAction>& actions, std::chrono::nanoseconds gap) {
  std::chrono::nanoseconds offset{0};
  for (auto& action : actions) {
    action.offset = offset;
    offset += gap;
  }
}

}  // namespace tapeloop::support
