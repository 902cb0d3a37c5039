#include "platform/x11/raw_input.h"

#include <memory>
#include <utility>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

namespace tapeloop::x11 {

RawInput::RawInput(Connection& connection)
    : connection_(connection),
      events_(connection.onEvent([this](const xcb_generic_event_t& event) { handle(event); })) {}

Subscription RawInput::onKey(Handler handler) {
  return count(keyListeners_, key_.connect(std::move(handler)));
}
Subscription RawInput::onAny(Handler handler) {
  return count(anyListeners_, any_.connect(std::move(handler)));
}

Subscription RawInput::count(int& listeners, Subscription subscription) {
  ++listeners;
  select();
  const auto kept = std::make_shared<Subscription>(std::move(subscription));
  return Subscription([this, &listeners, kept] {
    kept->reset();
    --listeners;
    select();
  });
}

void RawInput::select() const {
  if (!connection_.extensions().xinput) return;
  struct {
    xcb_input_event_mask_t head;
    std::uint32_t mask;
  } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, 0};
  if (keyListeners_ + anyListeners_ > 0) {
    selection.mask |=
        XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE;
  }
  if (anyListeners_ > 0) {
    selection.mask |= XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS |
                      XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE |
                      XCB_INPUT_XI_EVENT_MASK_RAW_MOTION;
  }
  xcb_input_xi_select_events(connection_.xcb(), connection_.root(), 1, &selection.head);
  xcb_flush(connection_.xcb());
}

void RawInput::handle(const xcb_generic_event_t& event) {
  if ((event.response_type & 0x7f) != XCB_GE_GENERIC) return;
  const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
  if (generic.extension != connection_.extensions().xinputOpcode) return;
  if (generic.event_type < XCB_INPUT_RAW_KEY_PRESS || generic.event_type > XCB_INPUT_RAW_MOTION) {
    return;
  }
  // The five kinds have the same layout up to here.
  const auto& raw = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event);
  const RawEvent told{generic.event_type, static_cast<std::uint8_t>(raw.detail), raw.time,
                      generic.full_sequence};
  any_(told);
  if (told.type <= XCB_INPUT_RAW_KEY_RELEASE) key_(told);
}

}  // namespace tapeloop::x11
