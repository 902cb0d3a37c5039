#include "platform/x11/screens.h"

#include <algorithm>

#include <xcb/randr.h>
#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include "platform/x11/xtest_devices.h"

namespace tapeloop::x11 {

namespace {

struct Monitor {
  Rect frame;  // root pixels, downwards
  bool primary;
};

Rect rect(int x, int y, int width, int height) {
  return {{static_cast<double>(x), static_cast<double>(y)},
          {static_cast<double>(width), static_cast<double>(height)}};
}

std::vector<Monitor> monitorsOf(const Connection& connection) {
  std::vector<Monitor> monitors;
  auto* xcb = connection.xcb();
  if (connection.extensions().randr) {
    const auto reply = connection.reply(xcb_randr_get_monitors_reply,
                                        xcb_randr_get_monitors(xcb, connection.root(), 1));
    if (!reply) return monitors;
    for (auto i = xcb_randr_get_monitors_monitors_iterator(reply.get()); i.rem > 0;
         xcb_randr_monitor_info_next(&i)) {
      const auto& info = *i.data;
      monitors.push_back({rect(info.x, info.y, info.width, info.height), info.primary != 0});
    }
  }
  // Without RandR, or with all outputs off, the whole root window counts as one monitor.
  if (monitors.empty()) {
    const auto root =
        connection.reply(xcb_get_geometry_reply, xcb_get_geometry(xcb, connection.root()));
    if (!root) return monitors;
    monitors.push_back({rect(0, 0, root->width, root->height), true});
  }
  std::stable_sort(monitors.begin(), monitors.end(),
                   [](const Monitor& a, const Monitor& b) { return a.primary && !b.primary; });
  return monitors;
}

// Programs that warp the pointer cause no raw event, so the cached position is trusted for 100 ms
// only: after a warp they watch the pointer for longer than that.
constexpr std::int64_t trusted = 100'000'000;

}  // namespace

X11Screens::X11Screens(Connection& connection) : connection_(connection) {
  if (connection_.extensions().randr) {
    xcb_randr_select_input(connection_.xcb(), connection_.root(),
                           XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
  }
  load();
  events_ = connection_.onEvent([this](const xcb_generic_event_t& event) {
    if (isChange(event)) stale_ = true;
  });
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
  const auto pointer = pointerPixel(connection_);
  if (!pointer || screens_.empty()) return std::nullopt;
  return fromRoot(pointer->x, pointer->y);
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

bool X11Screens::isChange(const xcb_generic_event_t& event) const {
  const auto& extensions = connection_.extensions();
  const int type = eventCode(event);
  if (type == XCB_CONFIGURE_NOTIFY) {
    return as<xcb_configure_notify_event_t>(event).window == connection_.root();
  }
  const int randrType = type - extensions.randrFirstEvent;
  return extensions.randr &&
         (randrType == XCB_RANDR_SCREEN_CHANGE_NOTIFY || randrType == XCB_RANDR_NOTIFY);
}

std::optional<Pixel> pointerPixel(const Connection& connection) {
  const auto pointer = connection.reply(xcb_query_pointer_reply,
                                        xcb_query_pointer(connection.xcb(), connection.root()));
  if (!pointer || pointer->same_screen == 0) return std::nullopt;
  return Pixel{pointer->root_x, pointer->root_y};
}

PointerTracker::PointerTracker(Connection& connection)
    : connection_(connection),
      events_(connection.onEvent([this](const xcb_generic_event_t& event) { handle(event); })) {}

void PointerTracker::watch(bool on) {
  place_.reset();
  if (on) {
    for (const InputDevice& each : connection_.inputDevices()) {
      const bool isPointer = each.type == XCB_INPUT_DEVICE_TYPE_SLAVE_POINTER;
      if (isPointer && each.name != xtestPointerName) watched_.push_back(each.id);
    }
  }
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
    place_ = pointerPixel(connection_);
    movedAt_ = monotonicNow();
  }
  return place_ == place;
}

void PointerTracker::handle(const xcb_generic_event_t& event) {
  if (watched_.empty() || eventCode(event) != XCB_GE_GENERIC) return;
  const auto& raw = as<xcb_input_raw_motion_event_t>(event);
  if (raw.extension != connection_.extensions().xinputOpcode) return;
  if (raw.event_type != XCB_INPUT_RAW_MOTION) return;
  if (std::find(watched_.begin(), watched_.end(), raw.sourceid) != watched_.end()) place_.reset();
}

}  // namespace tapeloop::x11
