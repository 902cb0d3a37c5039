#include "platform/x11/key_grabs.h"

#include <algorithm>
#include <utility>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

namespace tapeloop::x11 {
namespace {

constexpr unsigned modifierSets = 256;

}  // namespace

KeyGrabs::KeyGrabs(Connection& connection, const KeyboardMap& keyboard)
    : connection_(connection), keyboard_(keyboard), locks_(keyboard.lockModifiers()) {
  if (connection_.extensions().xkb) {
    // Otherwise each repeat of a held grabbed key would come with a release before it.
    constexpr std::uint32_t flag = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
    xcb_discard_reply(
        connection_.xcb(),
        xcb_xkb_per_client_flags(connection_.xcb(), XCB_XKB_ID_USE_CORE_KBD, flag, flag, 0, 0, 0)
            .sequence);
  }
}

// Passive grabs match modifiers exactly, so each combination with locks is grabbed separately.
std::vector<std::uint8_t> KeyGrabs::withLocks(std::uint8_t modifiers) const {
  const std::uint8_t locks = keyboard_.lockModifiers();
  std::vector<std::uint8_t> sets;
  for (unsigned set = 0; set < modifierSets; ++set) {
    if ((set & ~locks & 0xffU) == 0) sets.push_back(static_cast<std::uint8_t>(modifiers | set));
  }
  return sets;
}

void KeyGrabs::keep(const std::vector<KeyCombination>& wanted) {
  if (std::exchange(locks_, keyboard_.lockModifiers()) != locks_) {
    // The present grabs are for other combinations with locks.
    xcb_ungrab_key(connection_.xcb(), XCB_GRAB_ANY, connection_.root(), XCB_MOD_MASK_ANY);
    grabbed_.clear();
  }
  std::erase_if(grabbed_, [&](KeyCombination each) {
    if (std::find(wanted.begin(), wanted.end(), each) != wanted.end()) return false;
    request(each, false);
    return true;
  });
  for (const KeyCombination each : wanted) {
    if (!has(each) && grab(each)) grabbed_.push_back(each);
  }
  xcb_flush(connection_.xcb());
}

// All or nothing: it fails if another program has the key with any combination of locks.
bool KeyGrabs::grab(KeyCombination combination) const {
  auto* xcb = connection_.xcb();
  if (isTakenThroughExtension(combination)) return false;
  std::vector<xcb_void_cookie_t> grabs;
  for (const std::uint8_t modifiers : withLocks(combination.modifiers)) {
    grabs.push_back(xcb_grab_key_checked(xcb, 0, connection_.root(), modifiers, combination.keycode,
                                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
  }
  bool refused = false;
  for (const auto cookie : grabs) {
    if (own(xcb_request_check(xcb, cookie))) refused = true;
  }
  if (refused) request(combination, false);
  return !refused;
}

bool KeyGrabs::has(std::uint8_t keycode) const {
  return std::any_of(grabbed_.begin(), grabbed_.end(),
                     [keycode](KeyCombination each) { return each.keycode == keycode; });
}

bool KeyGrabs::has(KeyCombination combination) const {
  return std::find(grabbed_.begin(), grabbed_.end(), combination) != grabbed_.end();
}

void KeyGrabs::request(KeyCombination combination, bool grab) const {
  auto* xcb = connection_.xcb();
  for (const std::uint8_t modifiers : withLocks(combination.modifiers)) {
    if (grab) {
      xcb_grab_key(xcb, 0, connection_.root(), modifiers, combination.keycode, XCB_GRAB_MODE_ASYNC,
                   XCB_GRAB_MODE_ASYNC);
    } else {
      xcb_ungrab_key(xcb, combination.keycode, connection_.root(), modifiers);
    }
  }
}

// Grabs of the core protocol conflict with each other, and so do those of XInput 2, but not one
// kind with the other. Desktops use both. Each attempt is undone in the same batch of requests, so
// that it takes no key.
bool KeyGrabs::isTaken(KeyCombination combination) const {
  auto* xcb = connection_.xcb();
  const auto& [keycode, modifiers] = combination;
  const auto attempt = xcb_grab_key_checked(xcb, 0, connection_.root(), modifiers, keycode,
                                            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
  if (!has(combination)) xcb_ungrab_key(xcb, keycode, connection_.root(), modifiers);
  return own(xcb_request_check(xcb, attempt)) || isTakenThroughExtension(combination);
}

bool KeyGrabs::isTakenThroughExtension(KeyCombination combination) const {
  if (!connection_.extensions().xinput) return false;
  auto* xcb = connection_.xcb();
  const std::uint32_t set = combination.modifiers;
  // Some programs grab on all master keyboards, some on the core keyboard.
  const auto isTakenOn = [&](std::uint16_t device) {
    const auto attempt = xcb_input_xi_passive_grab_device(
        xcb, XCB_CURRENT_TIME, connection_.root(), XCB_CURSOR_NONE, combination.keycode, device, 1,
        0, XCB_INPUT_GRAB_TYPE_KEYCODE, XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_MODE_22_ASYNC,
        XCB_INPUT_GRAB_OWNER_NO_OWNER, nullptr, &set);
    xcb_input_xi_passive_ungrab_device(xcb, connection_.root(), combination.keycode, device, 1,
                                       XCB_INPUT_GRAB_TYPE_KEYCODE, &set);
    const auto reply = connection_.reply(xcb_input_xi_passive_grab_device_reply, attempt);
    // The reply lists the sets of modifiers that were refused.
    return reply && reply->num_modifiers > 0;
  };
  return isTakenOn(XCB_INPUT_DEVICE_ALL_MASTER) || isTakenOn(keyboard_.device());
}

void KeyGrabs::beginPosting(std::uint8_t keycode, std::uint8_t modifiers) {
  if (grabbed_.empty()) return;
  // While the user holds a grabbed key down the server sends every key to this program. Such a grab
  // may have begun without this program knowing it yet.
  xcb_ungrab_keyboard(connection_.xcb(), XCB_CURRENT_TIME);
  const std::uint8_t wanted = modifiers & ~keyboard_.lockModifiers();
  for (const KeyCombination& each : grabbed_) {
    // What the user holds is added to the modifiers of a posted key.
    if (each.keycode != keycode || (each.modifiers & wanted) != wanted) continue;
    request(each, false);
    suspended_.push_back(each);
  }
}

void KeyGrabs::endPosting() {
  for (const KeyCombination& each : suspended_) request(each, true);
  suspended_.clear();
}

}  // namespace tapeloop::x11
