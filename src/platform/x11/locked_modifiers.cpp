#include "platform/x11/locked_modifiers.h"

#include <utility>

#include <xcb/xcb.h>

#include "platform/input_event.h"
#include "platform/x11/xcb_reply.h"
#include "platform/x11/xcb_xkb.h"

namespace tapeloop::x11 {

LockedModifiers::LockedModifiers(Connection& connection, const KeyboardMap& keyboard)
    : connection_(connection), keyboard_(keyboard) {
  if (!connection_.extensions().xkb) return;
  xcb_xkb_select_events_details_t details{};
  details.affectState = XCB_XKB_STATE_PART_MODIFIER_LOCK;
  details.stateDetails = XCB_XKB_STATE_PART_MODIFIER_LOCK;
  xcb_xkb_select_events_aux(connection_.xcb(), XCB_XKB_ID_USE_CORE_KBD,
                            XCB_XKB_EVENT_TYPE_STATE_NOTIFY, 0, 0, 0, 0, &details);
  events_ = connection_.onEvent([this](const xcb_generic_event_t& event) { handle(event); });
}

void LockedModifiers::refresh() {
  if (!connection_.extensions().xkb) return;
  const auto state = own(xcb_xkb_get_state_reply(
      connection_.xcb(), xcb_xkb_get_state(connection_.xcb(), XCB_XKB_ID_USE_CORE_KBD), nullptr));
  if (state) own_ = state->lockedMods;
}

void LockedModifiers::apply(std::uint64_t flags) {
  const std::uint8_t ours = keyboard_.realModifiersOf(modifier_flag::all);
  const std::uint8_t wanted = keyboard_.realModifiersOf(flags);
  if (wanted == (own_ & ours)) return;
  lock(wanted);
  applied_ = true;
}

void LockedModifiers::restore() {
  if (std::exchange(applied_, false)) lock(own_);
}

void LockedModifiers::handle(const xcb_generic_event_t& event) {
  if ((event.response_type & 0x7f) != connection_.extensions().xkbFirstEvent) return;
  if (event.pad0 != XCB_XKB_STATE_NOTIFY) return;
  const auto& changed = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event);
  // Changes that a request made are our own on their way back; only keys tell what the person did.
  if (changed.requestMajor == 0) own_ = changed.lockedMods;
}

void LockedModifiers::lock(std::uint8_t modifiers) {
  const std::uint8_t ours = keyboard_.realModifiersOf(modifier_flag::all);
  xcb_xkb_latch_lock_state(connection_.xcb(), XCB_XKB_ID_USE_CORE_KBD, ours,
                           static_cast<std::uint8_t>(modifiers & ours), 0, 0, 0, 0, 0);
}

}  // namespace tapeloop::x11
