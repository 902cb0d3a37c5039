#include "platform/x11/keyboard_state.h"

#include <utility>

#include "platform/x11/xcb_reply.h"
#include "platform/x11/xcb_xkb.h"

namespace tapeloop::x11 {
namespace {

// Sequence numbers wrap.
bool isLater(std::uint32_t a, std::uint32_t b) {
  return static_cast<std::int32_t>(a - b) > 0;
}

}  // namespace

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
    held_ = state->baseMods;
    latched_ = state->latchedMods;
    locked_ = lockedByServer_ = state->lockedMods;
    group_ = state->group;
  }
  events_ = connection_.onEvent([this](const xcb_generic_event_t& event) { handle(event); });
}

void KeyboardState::lockForPosting(std::uint8_t mask, std::uint8_t modifiers) {
  if (!connection_.extensions().xkb || (modifiers & mask) == (locked_ & mask)) return;
  postingMask_ |= mask;
  isPosting_ = true;
  requestLocks(static_cast<std::uint8_t>((locked_ & ~mask) | (modifiers & mask)));
}

void KeyboardState::unlockAfterPosting() {
  if (std::exchange(isPosting_, false)) requestLocks(locked_);
}

void KeyboardState::requestLocks(std::uint8_t modifiers) {
  latestRequest_ =
      xcb_xkb_latch_lock_state(connection_.xcb(), XCB_XKB_ID_USE_CORE_KBD, postingMask_,
                               static_cast<std::uint8_t>(modifiers & postingMask_), 0, 0, 0, 0, 0)
          .sequence;
  requests_.push_back(latestRequest_);
}

void KeyboardState::handle(const xcb_generic_event_t& event) {
  if ((event.response_type & 0x7f) != connection_.extensions().xkbFirstEvent) return;
  if (event.pad0 != XCB_XKB_STATE_NOTIFY) return;
  const auto& state = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event);
  const std::uint8_t modifiersBefore = modifiers();
  const std::uint8_t heldBefore = std::exchange(held_, state.baseMods);
  latched_ = state.latchedMods;
  followLocks(state.lockedMods, event.full_sequence,
              state.requestMajor == connection_.extensions().xkbOpcode &&
                  state.requestMinor == XCB_XKB_LATCH_LOCK_STATE);
  const bool newGroup = std::exchange(group_, state.group) != state.group;
  if (modifiersBefore != modifiers() || heldBefore != held_) modifiersChanged_();
  if (newGroup) groupChanged_();
}

// A posted key may do something of its own, such as switch the layout, while other modifiers are
// locked for it, and the server then tells of all that is in force. The person's are only those
// that changed since it last told, unless our own request changed them.
void KeyboardState::followLocks(std::uint8_t locked, std::uint32_t sequence, bool byLockRequest) {
  const std::uint8_t changed = locked ^ std::exchange(lockedByServer_, locked);
  if ((byLockRequest && isOwnRequest(sequence)) || changed == 0) return;
  locked_ ^= changed;
  if (latestRequest_ == 0) return;
  // A request that the server read later has put back what was in force before; or one before has,
  // and the key then did the opposite of what the person meant.
  const bool isOverwritten = isLater(latestRequest_, sequence);
  const bool isWrong = ((locked ^ locked_) & postingMask_) != 0;
  if (isOverwritten || isWrong) requestLocks(locked_);
}

// Whether our request with this number is what did it. One that changed nothing is told of by
// nobody.
bool KeyboardState::isOwnRequest(std::uint32_t sequence) {
  while (!requests_.empty() && isLater(sequence, requests_.front())) requests_.pop_front();
  if (requests_.empty() || requests_.front() != sequence) return false;
  requests_.pop_front();
  return true;
}

}  // namespace tapeloop::x11
