#include "platform/x11/pointer_tracker.h"

#include <algorithm>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include "platform/system/run_loop.h"
#include "platform/x11/test_devices.h"
#include "platform/x11/xcb_reply.h"

namespace tapeloop::x11 {
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
  movedAt_ = system::monotonicNow();
}

bool PointerTracker::isAt(Pixel place) {
  if (!place_ || system::monotonicNow() - movedAt_ > trusted) {
    place_ = ask();
    movedAt_ = system::monotonicNow();
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
