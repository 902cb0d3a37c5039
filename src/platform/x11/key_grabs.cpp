#include "platform/x11/key_grabs.h"

#include <algorithm>
#include <utility>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include "platform/x11/xcb_reply.h"
#include "platform/x11/xcb_xkb.h"

namespace tapeloop::x11 {
namespace {

constexpr unsigned modifierSets = 256;

}  // namespace

KeyGrabs::KeyGrabs(Connection& connection, const KeyboardMap& keyboard)
    : connection_(connection), keyboard_(keyboard) {
  if (connection_.extensions().xkb) {
    // A held key that is ours comes up once, not with every repeat.
    constexpr std::uint32_t flag = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
    xcb_discard_reply(
        connection_.xcb(),
        xcb_xkb_per_client_flags(connection_.xcb(), XCB_XKB_ID_USE_CORE_KBD, flag, flag, 0, 0, 0)
            .sequence);
  }
  events_ = connection_.onEvent([this](const xcb_generic_event_t& event) { handle(event); });
}

// A grab matches modifiers exactly, so every combination with locks is one of its own.
std::vector<std::uint8_t> KeyGrabs::withLocks(std::uint8_t modifiers) const {
  const std::uint8_t locks = keyboard_.lockModifiers();
  std::vector<std::uint8_t> sets;
  for (unsigned set = 0; set < modifierSets; ++set) {
    if ((set & ~locks & 0xffU) == 0) sets.push_back(static_cast<std::uint8_t>(modifiers | set));
  }
  return sets;
}

bool KeyGrabs::grab(KeyCombination combination) {
  auto* xcb = connection_.xcb();
  if (areTakenThroughExtension({combination}).front()) return false;
  std::vector<xcb_void_cookie_t> grabs;
  for (const std::uint8_t modifiers : withLocks(combination.modifiers)) {
    grabs.push_back(xcb_grab_key_checked(xcb, 0, connection_.root(), modifiers, combination.keycode,
                                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
  }
  bool refused = false;
  for (const auto cookie : grabs) {
    if (own(xcb_request_check(xcb, cookie))) refused = true;
  }
  if (refused) {
    request(combination, false);
    return false;
  }
  grabbed_.push_back(combination);
  return true;
}

void KeyGrabs::release(KeyCombination combination) {
  request(combination, false);
  std::erase(grabbed_, combination);
  xcb_flush(connection_.xcb());
}

void KeyGrabs::releaseAll() {
  grabbed_.clear();
  xcb_ungrab_key(connection_.xcb(), XCB_GRAB_ANY, connection_.root(), XCB_MOD_MASK_ANY);
  xcb_flush(connection_.xcb());
}

bool KeyGrabs::has(std::uint8_t keycode) const {
  return std::any_of(grabbed_.begin(), grabbed_.end(),
                     [keycode](KeyCombination each) { return each.keycode == keycode; });
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

// The core protocol refuses what another core client has, and the input extension what another
// client of its own has: neither knows of the other, and desktops use both. Each try is taken back
// at once, so that no key is lost to it.
std::vector<bool> KeyGrabs::areTaken(const std::vector<KeyCombination>& combinations) const {
  auto* xcb = connection_.xcb();
  std::vector<xcb_void_cookie_t> tries;
  for (const KeyCombination& each : combinations) {
    tries.push_back(xcb_grab_key_checked(xcb, 0, connection_.root(), each.modifiers, each.keycode,
                                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    if (!isOurs(each)) xcb_ungrab_key(xcb, each.keycode, connection_.root(), each.modifiers);
  }
  std::vector<bool> taken = areTakenThroughExtension(combinations);
  for (std::size_t i = 0; i < tries.size(); ++i) {
    if (own(xcb_request_check(xcb, tries[i]))) taken[i] = true;
  }
  return taken;
}

std::vector<bool> KeyGrabs::areTakenThroughExtension(
    const std::vector<KeyCombination>& combinations) const {
  std::vector<bool> taken(combinations.size(), false);
  if (!connection_.extensions().xinput) return taken;
  auto* xcb = connection_.xcb();
  // Some grab on every keyboard, some on the one that programs know.
  for (const std::uint16_t device :
       {std::uint16_t{XCB_INPUT_DEVICE_ALL_MASTER}, keyboard_.device()}) {
    std::vector<xcb_input_xi_passive_grab_device_cookie_t> tries;
    for (const auto& [keycode, modifiers] : combinations) {
      const std::uint32_t set = modifiers;
      tries.push_back(xcb_input_xi_passive_grab_device(
          xcb, XCB_CURRENT_TIME, connection_.root(), XCB_CURSOR_NONE, keycode, device, 1, 0,
          XCB_INPUT_GRAB_TYPE_KEYCODE, XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_MODE_22_ASYNC,
          XCB_INPUT_GRAB_OWNER_NO_OWNER, nullptr, &set));
      xcb_input_xi_passive_ungrab_device(xcb, connection_.root(), keycode, device, 1,
                                         XCB_INPUT_GRAB_TYPE_KEYCODE, &set);
    }
    for (std::size_t i = 0; i < tries.size(); ++i) {
      const auto reply = own(xcb_input_xi_passive_grab_device_reply(xcb, tries[i], nullptr));
      // What it lists are the sets of modifiers that were refused.
      if (reply && reply->num_modifiers > 0) taken[i] = true;
    }
  }
  return taken;
}

bool KeyGrabs::isOurs(KeyCombination combination) const {
  return std::find(grabbed_.begin(), grabbed_.end(), combination) != grabbed_.end();
}

void KeyGrabs::letThrough(std::uint8_t keycode, std::uint8_t modifiers) {
  if (grabbed_.empty()) return;
  auto* xcb = connection_.xcb();
  // While a key of ours is down, every key comes here and none to the application.
  if (std::exchange(holding_, std::nullopt)) xcb_ungrab_keyboard(xcb, XCB_CURRENT_TIME);
  const std::uint8_t wanted = modifiers & ~keyboard_.lockModifiers();
  for (const KeyCombination& each : grabbed_) {
    // The person may hold more than is asked for.
    if (each.keycode != keycode || (each.modifiers & wanted) != wanted) continue;
    request(each, false);
    opened_.push_back(each);
  }
}

void KeyGrabs::closeAgain() {
  for (const KeyCombination& each : opened_) request(each, true);
  opened_.clear();
}

void KeyGrabs::handle(const xcb_generic_event_t& event) {
  const auto type = event.response_type & 0x7f;
  // No window of this connection asks for keys: these can come through a grab alone.
  const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(event);
  if (type == XCB_KEY_PRESS && !holding_) holding_ = key.detail;
  if (type == XCB_KEY_RELEASE && holding_ == key.detail) holding_.reset();
}

}  // namespace tapeloop::x11
