#include "platform/x11/keyboard_state.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <string>
#include <utility>

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

namespace tapeloop::x11 {
namespace {

constexpr std::uint8_t ansiKeyboard = 40;

struct DeadKey {
  xkb_keysym_t symbol;
  const char* accent;
};
// A dead key writes nothing by itself. What stands for it is its accent.
constexpr std::array<DeadKey, 14> deadKeys{{{XKB_KEY_dead_grave, "`"},
                                            {XKB_KEY_dead_acute, "\u00b4"},
                                            {XKB_KEY_dead_circumflex, "^"},
                                            {XKB_KEY_dead_tilde, "~"},
                                            {XKB_KEY_dead_macron, "\u00af"},
                                            {XKB_KEY_dead_breve, "\u02d8"},
                                            {XKB_KEY_dead_abovedot, "\u02d9"},
                                            {XKB_KEY_dead_diaeresis, "\u00a8"},
                                            {XKB_KEY_dead_abovering, "\u02da"},
                                            {XKB_KEY_dead_doubleacute, "\u02dd"},
                                            {XKB_KEY_dead_caron, "\u02c7"},
                                            {XKB_KEY_dead_cedilla, "\u00b8"},
                                            {XKB_KEY_dead_ogonek, "\u02db"},
                                            {XKB_KEY_dead_stroke, "/"}}};

std::string textOf(xkb_keysym_t symbol) {
  for (const auto& [dead, accent] : deadKeys) {
    if (symbol == dead) return accent;
  }
  std::array<char, 8> text{};
  if (xkb_keysym_to_utf8(symbol, text.data(), text.size()) <= 1) return {};
  const auto first = static_cast<unsigned char>(text[0]);
  constexpr unsigned char deleteCharacter = 0x7f;
  return first < ' ' || first == deleteCharacter ? std::string() : std::string(text.data());
}

std::string textOf(xkb_keymap* keymap, xkb_keycode_t keycode, xkb_layout_index_t group) {
  const xkb_layout_index_t groups = xkb_keymap_num_layouts_for_key(keymap, keycode);
  if (groups == 0) return {};
  // XKB wraps the number of the group for a key that has fewer of them.
  group %= groups;
  const xkb_level_index_t levels = xkb_keymap_num_levels_for_key(keymap, keycode, group);
  // The keys of the keypad write only on the level of Num Lock.
  for (xkb_level_index_t level = 0; level < levels; ++level) {
    const xkb_keysym_t* symbols = nullptr;
    if (xkb_keymap_key_get_syms_by_level(keymap, keycode, group, level, &symbols) != 1) continue;
    if (auto text = textOf(symbols[0]); !text.empty()) return text;
  }
  return {};
}

// How many of the letters a to z the layout writes.
std::size_t latinLetters(xkb_keymap* keymap, xkb_layout_index_t group) {
  std::bitset<26> found;
  for (xkb_keycode_t keycode = xkb_keymap_min_keycode(keymap);
       keycode <= xkb_keymap_max_keycode(keymap); ++keycode) {
    const std::string text = textOf(keymap, keycode, group);
    if (text.size() == 1 && text[0] >= 'a' && text[0] <= 'z') {
      found.set(static_cast<std::size_t>(text[0] - 'a'));
    }
  }
  return found.count();
}

std::size_t utf16Length(const std::string& text) {
  std::size_t length = 0;
  for (const char each : text) {
    const auto byte = static_cast<unsigned char>(each);
    const bool continues = (byte & 0xc0U) == 0x80U;
    if (!continues) length += byte >= 0xf0U ? 2 : 1;
  }
  return length;
}

// One group of a keyboard map.
class Group final : public InputSource, public UnicodeKeyLayoutData {
 public:
  Group(std::shared_ptr<xkb_keymap> keymap, xkb_layout_index_t number,
        const KeyboardMap::XKeycodes& keycodes)
      : keymap_(std::move(keymap)), number_(number), keycodes_(keycodes) {}

  [[nodiscard]] const UnicodeKeyLayoutData* TISGetInputSourceProperty() const override {
    return this;
  }
  [[nodiscard]] std::optional<std::string> UCKeyTranslate(std::uint16_t keyCode, KeyAction,
                                                          std::uint32_t, std::uint32_t,
                                                          std::uint32_t, std::uint32_t&,
                                                          std::size_t maxLength) const override {
    if (keyCode >= keycodes_.size() || keycodes_[keyCode] == 0) return std::nullopt;
    std::string text = textOf(keymap_.get(), keycodes_[keyCode], number_);
    if (text.empty() || utf16Length(text) > maxLength) return std::nullopt;
    return text;
  }

 private:
  const std::shared_ptr<xkb_keymap> keymap_;
  const xkb_layout_index_t number_;
  const KeyboardMap::XKeycodes keycodes_;  // a copy: the keyboard may change
};

// The layout of an ANSI keyboard. Null when the data of xkb-data is not installed.
std::shared_ptr<const InputSource> ansiLayout() {
  const std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> context(
      xkb_context_new(XKB_CONTEXT_NO_FLAGS), xkb_context_unref);
  const xkb_rule_names names{"evdev", "pc105", "us", "", ""};
  const std::shared_ptr<xkb_keymap> keymap(
      xkb_keymap_new_from_names(context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS),
      xkb_keymap_unref);
  if (!keymap) return nullptr;
  KeyboardMap::XKeycodes keycodes{};
  const auto last = std::min<xkb_keycode_t>(xkb_keymap_max_keycode(keymap.get()), 0xff);
  for (auto keycode = xkb_keymap_min_keycode(keymap.get()); keycode <= last; ++keycode) {
    const char* name = xkb_keymap_key_get_name(keymap.get(), keycode);
    const auto virtualKey = name != nullptr ? virtualKeyAt(name) : std::nullopt;
    if (virtualKey) keycodes[*virtualKey] = static_cast<std::uint8_t>(keycode);
  }
  return std::make_shared<Group>(keymap, 0, keycodes);
}

}  // namespace

KeyboardState::KeyboardState(Connection& connection, KeyboardMap& keyboard)
    : connection_(connection), keyboard_(keyboard.onChange([this] { layoutChanged_(); })) {
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
      connection_.reply(xcb_xkb_get_state_reply, xcb_xkb_get_state(xcb, XCB_XKB_ID_USE_CORE_KBD));
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
  if (eventCode(event) != connection_.extensions().xkbFirstEvent) return;
  if (event.pad0 != XCB_XKB_STATE_NOTIFY) return;
  const auto& state = as<xcb_xkb_state_notify_event_t>(event);
  const std::uint8_t modifiersBefore = modifiers();
  const std::uint8_t heldBefore = std::exchange(held_, state.baseMods);
  latched_ = state.latchedMods;
  followLocks(state.lockedMods, event.full_sequence,
              state.requestMajor == connection_.extensions().xkbOpcode &&
                  state.requestMinor == XCB_XKB_LATCH_LOCK_STATE);
  const bool newGroup = std::exchange(group_, state.group) != state.group;
  if (modifiersBefore != modifiers() || heldBefore != held_) modifiersChanged_();
  if (newGroup) layoutChanged_();
}

// A notification lists all locks in force. When a posted key itself changes the state, as by
// switching the layout, it comes while modifiers are locked for the posting. So what counts as the
// user's are the locks that changed since the last notification, unless a request of this program
// changed them.
void KeyboardState::followLocks(std::uint8_t locked, std::uint32_t sequence, bool byLockRequest) {
  const std::uint8_t changed = locked ^ std::exchange(lockedByServer_, locked);
  if ((byLockRequest && isOwnRequest(sequence)) || changed == 0) return;
  locked_ ^= changed;
  if (latestRequest_ == 0) return;
  // A later request of this program has set the locks from before the user's change. Or an earlier
  // one has: then the user's key found its lock unlocked by posting, or locked, and did the
  // opposite of what was meant.
  const bool isOverwritten = isLater(latestRequest_, sequence);
  const bool isWrong = ((locked ^ locked_) & postingMask_) != 0;
  if (isOverwritten || isWrong) requestLocks(locked_);
}

// Whether the request with this number set locks. Those before it that changed nothing got no
// notification.
bool KeyboardState::isOwnRequest(std::uint32_t sequence) {
  while (!requests_.empty() && isLater(sequence, requests_.front())) requests_.pop_front();
  if (requests_.empty() || requests_.front() != sequence) return false;
  requests_.pop_front();
  return true;
}

std::shared_ptr<const InputSource>
X11KeyboardLayouts::TISCopyCurrentASCIICapableKeyboardLayoutInputSource() {
  auto keymap = keyboard_.keymap();
  if (!keymap) return nullptr;
  // The layout with the most letters, since many Latin ones lack some; the one in force first.
  xkb_layout_index_t best = state_.group();
  std::size_t most = latinLetters(keymap.get(), best);
  for (xkb_layout_index_t group = 0; group < xkb_keymap_num_layouts(keymap.get()); ++group) {
    const std::size_t letters = latinLetters(keymap.get(), group);
    if (letters <= most) continue;
    best = group;
    most = letters;
  }
  if (most > 0) return std::make_shared<Group>(std::move(keymap), best, keyboard_.xKeycodes());
  if (!ansi_) ansi_ = ansiLayout();
  return ansi_;
}

std::uint8_t X11KeyboardLayouts::LMGetKbdType() const {
  return ansiKeyboard;
}

}  // namespace tapeloop::x11
