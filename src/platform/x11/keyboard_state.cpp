#include "platform/x11/keyboard_state.h"

#include <utility>

#include "platform/x11/xcb_reply.h"
#include "platform/x11/xcb_xkb.h"

namespace tapeloop::x11 {

KeyboardState::KeyboardState(Connection& connection) : connection_(connection) {
  if (!connection_.extensions().xkb) return;
  auto* xcb = connection_.xcb();
  constexpr std::uint16_t parts = XCB_XKB_STATE_PART_MODIFIER_STATE |
                                  XCB_XKB_STATE_PART_MODIFIER_BASE |
                                  XCB_XKB_STATE_PART_MODIFIER_LATCH |
                                  XCB_XKB_STATE_PART_MODIFIER_LOCK | XCB_XKB_STATE_PART_GROUP_STATE;
  xcb_xkb_select_events_details_t details{};
  details.affectState = parts;
  details.stateDetails = parts;
  xcb_xkb_select_events_aux(xcb, XCB_XKB_ID_USE_CORE_KBD, XCB_XKB_EVENT_TYPE_STATE_NOTIFY, 0, 0, 0,
                            0, &details);
  const auto state =
      own(xcb_xkb_get_state_reply(xcb, xcb_xkb_get_state(xcb, XCB_XKB_ID_USE_CORE_KBD), nullptr));
  if (state) {
    modifiers_ = state->mods;
    held_ = state->baseMods;
    group_ = state->group;
  }
  events_ = connection_.onEvent([this](const xcb_generic_event_t& event) { handle(event); });
}

void KeyboardState::handle(const xcb_generic_event_t& event) {
  if ((event.response_type & 0x7f) != connection_.extensions().xkbFirstEvent) return;
  if (event.pad0 != XCB_XKB_STATE_NOTIFY) return;
  const auto& state = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event);
  const bool newModifiers = modifiers_ != state.mods || held_ != state.baseMods;
  const bool newGroup = std::exchange(group_, state.group) != state.group;
  modifiers_ = state.mods;
  held_ = state.baseMods;
  if (newModifiers) modifiersChanged_();
  if (newGroup) groupChanged_();
}

}  // namespace tapeloop::x11
