#include "platform/x11/screens.h"

#include <algorithm>

#include <xcb/randr.h>
#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include "platform/x11/protocol.h"
#include "platform/x11/xtest_devices.h"

namespace tapeloop::x11 {

namespace {

struct Monitor {
  Rect frame;  // root pixels, downwards
  bool primary;
};

std::vector<Monitor> monitorsOf(const Connection& connection) {
  std::vector<Monitor> monitors;
  auto* xcb = connection.xcb();
  if (connection.extensions().randr) {
    const auto reply = own(xcb_randr_get_monitors_reply(
        xcb, xcb_randr_get_monitors(xcb, connection.root(), 1), nullptr));
    if (!reply) return monitors;
    for (auto i = xcb_randr_get_monitors_monitors_iterator(reply.get()); i.rem > 0;
         xcb_randr_monitor_info_next(&i)) {
      const auto& info = *i.data;
      monitors.push_back({{{static_cast<double>(info.x), static_cast<double>(info.y)},
                           {static_cast<double>(info.width), static_cast<double>(info.height)}},
                          info.primary != 0});
    }
  }
  // Without RandR, or with all outputs off, the root window is all there is to point at.
  if (monitors.empty()) {
    const auto geometry =
        own(xcb_get_geometry_reply(xcb, xcb_get_geometry(xcb, connection.root()), nullptr));
    if (!geometry) return monitors;
    monitors.push_back(
        {{{0, 0}, {static_cast<double>(geometry->width), static_cast<double>(geometry->height)}},
         true});
  }
  std::stable_sort(monitors.begin(), monitors.end(),
                   [](const Monitor& a, const Monitor& b) { return a.primary && !b.primary; });
  return monitors;
}

}  // namespace

X11Screens::X11Screens(Connection& connection) : connection_(connection) {
  if (connection_.extensions().randr) {
    xcb_randr_select_input(connection_.xcb(), connection_.root(),
                           XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
  }
  load();
  events_ = connection_.onEvent([this](const xcb_generic_event_t& event) { handle(event); });
  drained_ = connection_.onDrained([this] {
    if (!stale_) return;
    stale_ = false;
    load();
  });
}

std::optional<Screen> X11Screens::mainScreen() const {
  if (screens_.empty()) return std::nullopt;
  return screens_.front();
}

std::optional<Point> X11Screens::mouseLocation() const {
  const auto pointer = own(xcb_query_pointer_reply(
      connection_.xcb(), xcb_query_pointer(connection_.xcb(), connection_.root()), nullptr));
  if (!pointer || pointer->same_screen == 0 || screens_.empty()) return std::nullopt;
  return fromRoot(pointer->root_x, pointer->root_y);
}

Point X11Screens::fromRoot(int x, int y) const {
  return {x - primary_.origin.x, primary_.origin.y + primary_.size.height - y};
}

Point X11Screens::toRoot(Point fromPrimaryTopLeft) const {
  return {primary_.origin.x + fromPrimaryTopLeft.x, primary_.origin.y + fromPrimaryTopLeft.y};
}

void X11Screens::load() {
  const auto monitors = monitorsOf(connection_);
  screens_.clear();
  if (monitors.empty()) return;
  primary_ = monitors.front().frame;
  for (const Monitor& monitor : monitors) {
    const double x = monitor.frame.origin.x - primary_.origin.x;
    const double bottom = monitor.frame.origin.y + monitor.frame.size.height;
    screens_.push_back(
        {{{x, primary_.origin.y + primary_.size.height - bottom}, monitor.frame.size}});
  }
}

void X11Screens::handle(const xcb_generic_event_t& event) {
  const unsigned type = event.response_type & 0x7fU;
  const auto& extensions = connection_.extensions();
  const bool ofRandr =
      extensions.randr &&
      (type == static_cast<unsigned>(extensions.randrFirstEvent) + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
       type == static_cast<unsigned>(extensions.randrFirstEvent) + XCB_RANDR_NOTIFY);
  const bool ofRoot =
      type == XCB_CONFIGURE_NOTIFY &&
      reinterpret_cast<const xcb_configure_notify_event_t&>(event).window == connection_.root();
  if (ofRandr || ofRoot) stale_ = true;
}

namespace {

// A program that places the pointer itself sends no word of it. Those that do so follow the pointer
// with it for longer than this.
constexpr std::int64_t trusted = 100'000'000;

}  // namespace

PointerTracker::PointerTracker(Connection& connection)
    : connection_(connection),
      events_(connection.onEvent([this](const xcb_generic_event_t& event) { handle(event); })) {}

void PointerTracker::watch(bool on) {
  if (!connection_.extensions().xinput) return;
  place_.reset();
  if (on) watched_ = otherPointers();
  for (const std::uint16_t device : watched_) {
    struct {
      xcb_input_event_mask_t head;
      std::uint32_t mask;
    } selection{{device, 1}, on ? std::uint32_t{XCB_INPUT_XI_EVENT_MASK_RAW_MOTION} : 0};
    xcb_input_xi_select_events(connection_.xcb(), connection_.root(), 1, &selection.head);
  }
  if (!on) watched_.clear();
}

void PointerTracker::movedTo(Pixel place) {
  place_ = place;
  movedAt_ = monotonicNow();
}

bool PointerTracker::isAt(Pixel place) {
  if (!place_ || monotonicNow() - movedAt_ > trusted) {
    place_ = ask();
    movedAt_ = monotonicNow();
  }
  return place_ == place;
}

void PointerTracker::handle(const xcb_generic_event_t& event) {
  if (watched_.empty() || (event.response_type & 0x7f) != XCB_GE_GENERIC) return;
  const auto& raw = reinterpret_cast<const xcb_input_raw_motion_event_t&>(event);
  if (raw.extension != connection_.extensions().xinputOpcode) return;
  if (raw.event_type != XCB_INPUT_RAW_MOTION) return;
  if (std::find(watched_.begin(), watched_.end(), raw.sourceid) != watched_.end()) place_.reset();
}

std::vector<std::uint16_t> PointerTracker::otherPointers() const {
  std::vector<std::uint16_t> devices;
  const auto reply = own(xcb_input_xi_query_device_reply(
      connection_.xcb(), xcb_input_xi_query_device(connection_.xcb(), XCB_INPUT_DEVICE_ALL),
      nullptr));
  if (!reply) return devices;
  for (auto i = xcb_input_xi_query_device_infos_iterator(reply.get()); i.rem > 0;
       xcb_input_xi_device_info_next(&i)) {
    const bool isPointer = i.data->type == XCB_INPUT_DEVICE_TYPE_SLAVE_POINTER;
    if (isPointer && deviceName(*i.data) != testPointerName) devices.push_back(i.data->deviceid);
  }
  return devices;
}

std::optional<Pixel> PointerTracker::ask() const {
  const auto pointer = own(xcb_query_pointer_reply(
      connection_.xcb(), xcb_query_pointer(connection_.xcb(), connection_.root()), nullptr));
  if (!pointer || pointer->same_screen == 0) return std::nullopt;
  return Pixel{pointer->root_x, pointer->root_y};
}

}  // namespace tapeloop::x11
