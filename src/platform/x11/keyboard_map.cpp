#include "platform/x11/keyboard_map.h"

#include <algorithm>
#include <iterator>

#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include "platform/input_event.h"

namespace tapeloop::x11 {
namespace {

struct Position {
  std::string_view name;
  std::uint16_t virtualKey;
};

// XKB names a key by its row and place (row C, first key: AC01), and so do virtual key codes,
// whatever the server's keycodes are and whatever is printed on the keys. Sorted by name.
constexpr Position positions[] = {
    {"AB01", 6},   {"AB02", 7},   {"AB03", 8},   {"AB04", 9},   {"AB05", 11},  {"AB06", 45},
    {"AB07", 46},  {"AB08", 43},  {"AB09", 47},  {"AB10", 44},  {"AC01", 0},   {"AC02", 1},
    {"AC03", 2},   {"AC04", 3},   {"AC05", 5},   {"AC06", 4},   {"AC07", 38},  {"AC08", 40},
    {"AC09", 37},  {"AC10", 41},  {"AC11", 39},  {"AD01", 12},  {"AD02", 13},  {"AD03", 14},
    {"AD04", 15},  {"AD05", 17},  {"AD06", 16},  {"AD07", 32},  {"AD08", 34},  {"AD09", 31},
    {"AD10", 35},  {"AD11", 33},  {"AD12", 30},  {"AE01", 18},  {"AE02", 19},  {"AE03", 20},
    {"AE04", 21},  {"AE05", 23},  {"AE06", 22},  {"AE07", 26},  {"AE08", 28},  {"AE09", 25},
    {"AE10", 29},  {"AE11", 27},  {"AE12", 24},  {"BKSL", 42},  {"BKSP", 51},  {"CAPS", 57},
    {"DELE", 117}, {"DOWN", 125}, {"END", 119},  {"ESC", 53},   {"FK01", 122}, {"FK02", 120},
    {"FK03", 99},  {"FK04", 118}, {"FK05", 96},  {"FK06", 97},  {"FK07", 98},  {"FK08", 100},
    {"FK09", 101}, {"FK10", 109}, {"FK11", 103}, {"FK12", 111}, {"FK13", 105}, {"FK14", 107},
    {"FK15", 113}, {"FK16", 106}, {"FK17", 64},  {"FK18", 79},  {"FK19", 80},  {"FK20", 90},
    {"HOME", 115}, {"INS", 114},  {"KP0", 82},   {"KP1", 83},   {"KP2", 84},   {"KP3", 85},
    {"KP4", 86},   {"KP5", 87},   {"KP6", 88},   {"KP7", 89},   {"KP8", 91},   {"KP9", 92},
    {"KPAD", 69},  {"KPDL", 65},  {"KPDV", 75},  {"KPEN", 76},  {"KPEQ", 81},  {"KPMU", 67},
    {"KPSU", 78},  {"LALT", 58},  {"LCTL", 59},  {"LEFT", 123}, {"LFSH", 56},  {"LWIN", 55},
    {"MUTE", 74},  {"NMLK", 71},  {"PGDN", 121}, {"PGUP", 116}, {"RALT", 61},  {"RCTL", 62},
    {"RGHT", 124}, {"RTRN", 36},  {"RTSH", 60},  {"RWIN", 54},  {"SPCE", 49},  {"TAB", 48},
    {"TLDE", 50},  {"UP", 126},   {"VOL+", 72},  {"VOL-", 73},
};

constexpr bool byName(const Position& a, const Position& b) {
  return a.name < b.name;
}
static_assert(std::is_sorted(std::begin(positions), std::end(positions), byName));

// What a key of the keypad does without Num Lock, and the place of the key that does the same.
struct KeypadSymbol {
  xkb_keysym_t symbol;
  const char* place;
};
constexpr KeypadSymbol keypadSymbols[] = {
    {XKB_KEY_KP_Home, "HOME"},   {XKB_KEY_KP_Left, "LEFT"}, {XKB_KEY_KP_Up, "UP"},
    {XKB_KEY_KP_Right, "RGHT"},  {XKB_KEY_KP_Down, "DOWN"}, {XKB_KEY_KP_Prior, "PGUP"},
    {XKB_KEY_KP_Next, "PGDN"},   {XKB_KEY_KP_End, "END"},   {XKB_KEY_KP_Insert, "INS"},
    {XKB_KEY_KP_Delete, "DELE"},
};

struct ModifierSymbol {
  xkb_keysym_t symbol;
  std::uint64_t flag;
};
constexpr ModifierSymbol modifierSymbols[] = {
    {XKB_KEY_Shift_L, modifier_flag::shift},
    {XKB_KEY_Shift_R, modifier_flag::shift},
    {XKB_KEY_Caps_Lock, modifier_flag::capsLock},
    {XKB_KEY_Control_L, modifier_flag::control},
    {XKB_KEY_Control_R, modifier_flag::control},
    {XKB_KEY_Super_L, modifier_flag::command},
    {XKB_KEY_Super_R, modifier_flag::command},
    {XKB_KEY_Alt_L, modifier_flag::option},
    {XKB_KEY_Alt_R, modifier_flag::option},
    {XKB_KEY_Meta_L, modifier_flag::option},
    {XKB_KEY_Meta_R, modifier_flag::option},
    {XKB_KEY_ISO_Level3_Shift, modifier_flag::function},
};

std::uint64_t flagOfSymbol(xkb_keysym_t symbol) {
  for (const auto& each : modifierSymbols) {
    if (each.symbol == symbol) return each.flag;
  }
  return 0;
}

bool isLockSymbol(xkb_keysym_t symbol) {
  return symbol == XKB_KEY_Caps_Lock || symbol == XKB_KEY_Shift_Lock ||
         symbol == XKB_KEY_Num_Lock || symbol == XKB_KEY_Scroll_Lock;
}

// The key's symbol in the first layout, without modifiers.
xkb_keysym_t symbolOfKey(xkb_keymap* keymap, xkb_keycode_t keycode) {
  const xkb_keysym_t* symbols = nullptr;
  const int count = xkb_keymap_key_get_syms_by_level(keymap, keycode, 0, 0, &symbols);
  return count == 1 ? symbols[0] : xkb_keysym_t{XKB_KEY_NoSymbol};
}

struct Release {
  void operator()(xkb_state* state) const { xkb_state_unref(state); }
};
using StatePtr = std::unique_ptr<xkb_state, Release>;

// Bits of a core event's state: real modifiers, and the layout above the buttons.
constexpr std::uint32_t realModifiers = 0xff;
constexpr unsigned groupShift = 13;
constexpr unsigned groupMask = 3;

// The state of the keyboard at an event with this state. Null without a keyboard map.
StatePtr stateOf(xkb_keymap* keymap, std::uint16_t eventState) {
  StatePtr state(keymap != nullptr ? xkb_state_new(keymap) : nullptr);
  if (state) {
    xkb_state_update_mask(state.get(), 0, 0, eventState & realModifiers, 0, 0,
                          eventState >> groupShift & groupMask);
  }
  return state;
}

// The real modifiers that a press of the key alone sets.
std::uint8_t modifiersOfPress(xkb_keymap* keymap, xkb_keycode_t keycode) {
  const StatePtr state = stateOf(keymap, 0);
  if (!state) return 0;
  xkb_state_update_key(state.get(), keycode, XKB_KEY_DOWN);
  return static_cast<std::uint8_t>(xkb_state_serialize_mods(state.get(), XKB_STATE_MODS_EFFECTIVE) &
                                   realModifiers);
}

}  // namespace

std::optional<std::uint16_t> virtualKeyAt(std::string_view xkbKeyName) {
  const auto* found =
      std::lower_bound(std::begin(positions), std::end(positions), Position{xkbKeyName, 0}, byName);
  if (found == std::end(positions) || found->name != xkbKeyName) return std::nullopt;
  return found->virtualKey;
}

KeyboardMap::KeyboardMap(Connection& connection)
    : connection_(connection), context_(xkb_context_new(XKB_CONTEXT_NO_FLAGS), xkb_context_unref) {
  if (connection_.extensions().xkb) {
    xkb_x11_setup_xkb_extension(connection_.xcb(), XKB_X11_MIN_MAJOR_XKB_VERSION,
                                XKB_X11_MIN_MINOR_XKB_VERSION, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS,
                                nullptr, nullptr, nullptr, nullptr);
    constexpr std::uint16_t events =
        XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    constexpr std::uint16_t parts = 0xff;
    xcb_xkb_select_events(connection_.xcb(), XCB_XKB_ID_USE_CORE_KBD, events, 0, events, parts,
                          parts, nullptr);
  }
  load();
  events_ = connection_.onEvent([this](const xcb_generic_event_t& event) {
    const auto& extensions = connection_.extensions();
    if (!extensions.xkb || eventCode(event) != extensions.xkbFirstEvent) return;
    const auto xkbType = event.pad0;
    if (xkbType == XCB_XKB_NEW_KEYBOARD_NOTIFY || xkbType == XCB_XKB_MAP_NOTIFY) stale_ = true;
  });
  // One change of the layout sends many events; the map is read once for all of them.
  drained_ = connection_.onDrained([this] {
    if (!stale_) return;
    stale_ = false;
    load();
    changed_();
  });
}

// False leaves the map before it in force.
bool KeyboardMap::readKeymap() {
  auto* xcb = connection_.xcb();
  const int device = xkb_x11_get_core_keyboard_device_id(xcb);
  auto* const keymap =
      xkb_x11_keymap_new_from_device(context_.get(), xcb, device, XKB_KEYMAP_COMPILE_NO_FLAGS);
  if (keymap == nullptr) return false;
  keymap_.reset(keymap, xkb_keymap_unref);
  device_ = static_cast<std::uint16_t>(device);
  return true;
}

void KeyboardMap::load() {
  if (connection_.extensions().xkb && !readKeymap()) return;
  xKeycodes_.fill(0);
  keyFlags_.fill(0);
  flagsOfModifier_.fill(0);
  lockModifiers_ = 0;
  numLockModifier_ = 0;
  std::uint8_t heldModifiers = 0;  // those that some key sets for as long as it is down
  xkb_keymap* keymap = keymap_.get();
  for (unsigned keycode = 0; keycode < virtualKeys_.size(); ++keycode) {
    const auto xKeycode = static_cast<std::uint8_t>(keycode);
    const std::uint16_t withoutPlace = virtualKeyWithoutPlace(xKeycode);
    const char* name = keymap != nullptr ? xkb_keymap_key_get_name(keymap, keycode) : nullptr;
    virtualKeys_[keycode] =
        name != nullptr ? virtualKeyAt(name).value_or(withoutPlace) : withoutPlace;
    if (name == nullptr) continue;
    xKeycodes_[virtualKeys_[keycode]] = xKeycode;
    xKeycodes_[withoutPlace] = xKeycode;

    const xkb_keysym_t symbol = symbolOfKey(keymap, keycode);
    keyFlags_[keycode] = flagOfSymbol(symbol);
    const bool isLock = isLockSymbol(symbol);
    if (keyFlags_[keycode] == 0 && !isLock) continue;
    const std::uint8_t modifiers = modifiersOfPress(keymap, keycode);
    (isLock ? lockModifiers_ : heldModifiers) |= modifiers;
    if (symbol == XKB_KEY_Num_Lock) numLockModifier_ |= modifiers;
    for (unsigned bit = 0; bit < flagsOfModifier_.size(); ++bit) {
      if (modifiers & (1U << bit)) flagsOfModifier_[bit] |= keyFlags_[keycode];
    }
  }
  // A modifier that one key holds is no lock, though another key may lock it (the option
  // caps:shiftlock). Lock is one by the core protocol, and may be on though no key sets it.
  lockModifiers_ &= static_cast<std::uint8_t>(~heldModifiers);
  lockModifiers_ |= XCB_MOD_MASK_LOCK;

  dependsOnNumLock_.reset();
  const StatePtr off = stateOf(keymap, 0);
  const StatePtr on = stateOf(keymap, numLockModifier_);
  for (unsigned keycode = 0; off && on && keycode < virtualKeys_.size(); ++keycode) {
    dependsOnNumLock_[keycode] = xkb_state_key_get_one_sym(off.get(), keycode) !=
                                 xkb_state_key_get_one_sym(on.get(), keycode);
  }
}

std::optional<std::uint8_t> KeyboardMap::xKeycode(std::uint16_t virtualKey) const {
  if (virtualKey >= xKeycodes_.size() || xKeycodes_[virtualKey] == 0) return std::nullopt;
  return xKeycodes_[virtualKey];
}

bool KeyboardMap::switchesLayout(std::uint8_t xKeycode, std::uint16_t state) const {
  const StatePtr keyboard = stateOf(keymap_.get(), state);
  if (!keyboard) return false;
  const auto layout = [&] {
    return xkb_state_serialize_layout(keyboard.get(), XKB_STATE_LAYOUT_EFFECTIVE);
  };
  const xkb_layout_index_t before = layout();
  xkb_state_update_key(keyboard.get(), xKeycode, XKB_KEY_DOWN);
  return layout() != before;
}

std::uint16_t KeyboardMap::virtualKeyWithoutNumLock(std::uint8_t xKeycode,
                                                    std::uint16_t state) const {
  const StatePtr keyboard = stateOf(keymap_.get(), state);
  const xkb_keysym_t written = keyboard ? xkb_state_key_get_one_sym(keyboard.get(), xKeycode) : 0;
  for (const auto& [symbol, place] : keypadSymbols) {
    if (symbol != written) continue;
    const auto virtualKey = virtualKeyAt(place);
    if (virtualKey && this->xKeycode(*virtualKey)) return *virtualKey;
  }
  return virtualKeyWithoutPlace(xKeycode);
}

std::vector<std::uint8_t> KeyboardMap::xKeycodesOfEscape(std::uint8_t group) const {
  std::vector<std::uint8_t> keycodes;
  const StatePtr keyboard = stateOf(keymap_.get(), static_cast<std::uint16_t>(group << groupShift));
  for (unsigned keycode = 0; keyboard && keycode < virtualKeys_.size(); ++keycode) {
    if (xkb_state_key_get_one_sym(keyboard.get(), keycode) != XKB_KEY_Escape) continue;
    keycodes.push_back(static_cast<std::uint8_t>(keycode));
  }
  return keycodes;
}

std::uint64_t KeyboardMap::flagsOf(std::uint16_t state) const {
  std::uint64_t flags = 0;
  for (unsigned bit = 0; bit < flagsOfModifier_.size(); ++bit) {
    if (state & (1U << bit)) flags |= flagsOfModifier_[bit];
  }
  return flags;
}

std::uint8_t KeyboardMap::realModifiersOf(std::uint64_t flags) const {
  std::uint32_t modifiers = 0;
  for (unsigned bit = 0; bit < flagsOfModifier_.size(); ++bit) {
    if (flags & flagsOfModifier_[bit]) modifiers |= 1U << bit;
  }
  return static_cast<std::uint8_t>(modifiers);
}

std::uint8_t KeyboardMap::unnamedModifiers(std::uint16_t state) const {
  return static_cast<std::uint8_t>(state & ~lockModifiers_ & ~realModifiersOf(modifier_flag::all));
}

}  // namespace tapeloop::x11
