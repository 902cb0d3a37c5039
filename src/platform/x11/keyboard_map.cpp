#include "platform/x11/keyboard_map.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include "platform/input_event.h"
#include "platform/x11/protocol.h"

namespace tapeloop::x11 {

namespace {

struct Position {
  std::string_view name;
  std::uint16_t code;
};

// XKB names a key by row and place (row C, first key: AC01), whatever the keycodes of the server
// are and whatever is written on the key; virtual key codes name the same places. Sorted by name.
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

}  // namespace

std::optional<std::uint16_t> virtualKeyCode(std::string_view xkbKeyName) {
  const auto* found =
      std::lower_bound(std::begin(positions), std::end(positions), Position{xkbKeyName, 0}, byName);
  if (found == std::end(positions) || found->name != xkbKeyName) return std::nullopt;
  return found->code;
}

namespace {

template <typename T, void (*release)(T*)>
struct Release {
  void operator()(T* object) const { release(object); }
};
using ContextPtr = std::unique_ptr<xkb_context, Release<xkb_context, xkb_context_unref>>;
using StatePtr = std::unique_ptr<xkb_state, Release<xkb_state, xkb_state_unref>>;

constexpr std::uint32_t realModifiers = 0xff;

std::uint64_t flagOfSymbol(xkb_keysym_t symbol) {
  switch (symbol) {
    case XKB_KEY_Shift_L:
    case XKB_KEY_Shift_R:
      return modifier_flag::shift;
    case XKB_KEY_Caps_Lock:
      return modifier_flag::capsLock;
    case XKB_KEY_Control_L:
    case XKB_KEY_Control_R:
      return modifier_flag::control;
    case XKB_KEY_Super_L:
    case XKB_KEY_Super_R:
      return modifier_flag::command;
    case XKB_KEY_Alt_L:
    case XKB_KEY_Alt_R:
    case XKB_KEY_Meta_L:
    case XKB_KEY_Meta_R:
      return modifier_flag::option;
    case XKB_KEY_ISO_Level3_Shift:
      return modifier_flag::function;
    default:
      return 0;
  }
}

bool isLockSymbol(xkb_keysym_t symbol) {
  return symbol == XKB_KEY_Caps_Lock || symbol == XKB_KEY_Shift_Lock ||
         symbol == XKB_KEY_Num_Lock || symbol == XKB_KEY_Scroll_Lock;
}

// What the key writes or does in the first layout.
xkb_keysym_t symbolOfKey(xkb_keymap* keymap, xkb_keycode_t keycode) {
  const xkb_keysym_t* symbols = nullptr;
  const int count = xkb_keymap_key_get_syms_by_level(keymap, keycode, 0, 0, &symbols);
  return count == 1 ? symbols[0] : xkb_keysym_t{XKB_KEY_NoSymbol};
}

// What a key of the keypad does without Num Lock, and the place of the key that does the same.
struct KeypadSymbol {
  xkb_keysym_t symbol;
  const char* place;
};
constexpr std::array<KeypadSymbol, 10> keypadSymbols{{{XKB_KEY_KP_Home, "HOME"},
                                                      {XKB_KEY_KP_Left, "LEFT"},
                                                      {XKB_KEY_KP_Up, "UP"},
                                                      {XKB_KEY_KP_Right, "RGHT"},
                                                      {XKB_KEY_KP_Down, "DOWN"},
                                                      {XKB_KEY_KP_Prior, "PGUP"},
                                                      {XKB_KEY_KP_Next, "PGDN"},
                                                      {XKB_KEY_KP_End, "END"},
                                                      {XKB_KEY_KP_Insert, "INS"},
                                                      {XKB_KEY_KP_Delete, "DELE"}}};

// The state of the keyboard that an event's state tells of: real modifiers, and the layout above
// the buttons.
StatePtr stateOf(xkb_keymap* keymap, std::uint16_t eventState) {
  constexpr unsigned groupShift = 13;
  constexpr unsigned groupMask = 3;
  StatePtr state(keymap != nullptr ? xkb_state_new(keymap) : nullptr);
  if (state) {
    xkb_state_update_mask(state.get(), 0, 0, eventState & realModifiers, 0, 0,
                          eventState >> groupShift & groupMask);
  }
  return state;
}

// The real modifiers that a press of the key alone brings about.
std::uint32_t modifiersOfPress(xkb_keymap* keymap, xkb_keycode_t keycode) {
  const StatePtr state(xkb_state_new(keymap));
  if (!state) return 0;
  xkb_state_update_key(state.get(), keycode, XKB_KEY_DOWN);
  return xkb_state_serialize_mods(state.get(), XKB_STATE_MODS_EFFECTIVE) & realModifiers;
}

}  // namespace

struct KeyboardMap::Xkb {
  ContextPtr context{xkb_context_new(XKB_CONTEXT_NO_FLAGS)};
  std::shared_ptr<xkb_keymap> keymap;
};

KeyboardMap::KeyboardMap(Connection& connection)
    : connection_(connection), xkb_(std::make_unique<Xkb>()) {
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
  events_ = connection_.onEvent([this](const xcb_generic_event_t& event) { handle(event); });
  // One change of the layout sends many events; the map is read once for all of them.
  drained_ = connection_.onDrained([this] {
    if (!stale_) return;
    stale_ = false;
    load();
    changed_();
  });
}

KeyboardMap::~KeyboardMap() = default;

void KeyboardMap::handle(const xcb_generic_event_t& event) {
  const auto& extensions = connection_.extensions();
  if (!extensions.xkb || (event.response_type & 0x7f) != extensions.xkbFirstEvent) return;
  switch (event.pad0) {  // the kind of XKB event
    case XCB_XKB_NEW_KEYBOARD_NOTIFY:
    case XCB_XKB_MAP_NOTIFY:
      stale_ = true;
      break;
    default:
      break;
  }
}

void KeyboardMap::load() {
  if (connection_.extensions().xkb) {
    auto* xcb = connection_.xcb();
    const int device = xkb_x11_get_core_keyboard_device_id(xcb);
    auto* const keymap = xkb_x11_keymap_new_from_device(xkb_->context.get(), xcb, device,
                                                        XKB_KEYMAP_COMPILE_NO_FLAGS);
    // A map that can't be read leaves the one before it in force.
    if (keymap == nullptr) return;
    xkb_->keymap.reset(keymap, xkb_keymap_unref);
    device_ = static_cast<std::uint16_t>(device);
  }

  keycodes_.fill(0);
  keyFlags_.fill(0);
  flagsOfModifier_.fill(0);
  lockModifiers_ = 0;
  numLockModifier_ = 0;
  std::uint8_t heldFor = 0;  // modifiers that are there while a key is down
  xkb_keymap* keymap = xkb_->keymap.get();
  for (unsigned keycode = 0; keycode < keyCodes_.size(); ++keycode) {
    const std::uint16_t foreign = keyCodeWithoutPlace(static_cast<std::uint8_t>(keycode));
    const char* name = keymap != nullptr ? xkb_keymap_key_get_name(keymap, keycode) : nullptr;
    keyCodes_[keycode] = name != nullptr ? virtualKeyCode(name).value_or(foreign) : foreign;
    if (name == nullptr) continue;
    keycodes_[keyCodes_[keycode]] = static_cast<std::uint8_t>(keycode);
    // A key that has a place can be asked for by its keycode too.
    keycodes_[foreign] = static_cast<std::uint8_t>(keycode);

    const xkb_keysym_t symbol = symbolOfKey(keymap, keycode);
    keyFlags_[keycode] = flagOfSymbol(symbol);
    const bool isLock = isLockSymbol(symbol);
    if (keyFlags_[keycode] == 0 && !isLock) continue;
    const std::uint32_t modifiers = modifiersOfPress(keymap, keycode);
    if (isLock) lockModifiers_ |= static_cast<std::uint8_t>(modifiers);
    if (symbol == XKB_KEY_Num_Lock) numLockModifier_ |= static_cast<std::uint8_t>(modifiers);
    if (!isLock) heldFor |= static_cast<std::uint8_t>(modifiers);
    for (unsigned bit = 0; bit < flagsOfModifier_.size(); ++bit) {
      if (modifiers & (1U << bit)) flagsOfModifier_[bit] |= keyFlags_[keycode];
    }
  }
  // A shift that can be locked is a shift all the same. One lock is there by the core protocol, and
  // may be on where no key switches it.
  lockModifiers_ &= static_cast<std::uint8_t>(~heldFor);
  lockModifiers_ |= XCB_MOD_MASK_LOCK;

  dependsOnNumLock_.reset();
  const StatePtr off = stateOf(keymap, 0);
  const StatePtr on = stateOf(keymap, numLockModifier_);
  for (unsigned keycode = 0; off && on && keycode < keyCodes_.size(); ++keycode) {
    dependsOnNumLock_[keycode] = xkb_state_key_get_one_sym(off.get(), keycode) !=
                                 xkb_state_key_get_one_sym(on.get(), keycode);
  }
}

bool KeyboardMap::switchesLayout(std::uint8_t keycode, std::uint16_t state) const {
  const StatePtr keyboard = stateOf(xkb_->keymap.get(), state);
  if (!keyboard) return false;
  const auto layout = [&] {
    return xkb_state_serialize_layout(keyboard.get(), XKB_STATE_LAYOUT_EFFECTIVE);
  };
  const xkb_layout_index_t before = layout();
  xkb_state_update_key(keyboard.get(), keycode, XKB_KEY_DOWN);
  return layout() != before;
}

std::optional<std::uint16_t> KeyboardMap::keyCodeStoodFor(std::uint8_t keycode,
                                                          std::uint16_t state) const {
  const StatePtr keyboard = stateOf(xkb_->keymap.get(), state);
  if (!keyboard) return std::nullopt;
  const xkb_keysym_t written = xkb_state_key_get_one_sym(keyboard.get(), keycode);
  for (const auto& [symbol, place] : keypadSymbols) {
    if (symbol != written) continue;
    const auto keyCode = virtualKeyCode(place);
    if (keyCode && keycodeOf(*keyCode)) return keyCode;
  }
  return std::nullopt;
}

std::vector<std::uint8_t> KeyboardMap::keycodesWritingEscape(std::uint8_t group) const {
  std::vector<std::uint8_t> keycodes;
  const StatePtr keyboard(xkb_->keymap ? xkb_state_new(xkb_->keymap.get()) : nullptr);
  if (!keyboard) return keycodes;
  xkb_state_update_mask(keyboard.get(), 0, 0, 0, 0, 0, group);
  for (unsigned keycode = 0; keycode < keyCodes_.size(); ++keycode) {
    if (xkb_state_key_get_one_sym(keyboard.get(), keycode) != XKB_KEY_Escape) continue;
    keycodes.push_back(static_cast<std::uint8_t>(keycode));
  }
  return keycodes;
}

std::shared_ptr<xkb_keymap> KeyboardMap::keymap() const {
  return xkb_->keymap;
}

std::optional<std::uint8_t> KeyboardMap::keycodeOf(std::uint16_t keyCode) const {
  if (keyCode >= keycodes_.size() || keycodes_[keyCode] == 0) return std::nullopt;
  return keycodes_[keyCode];
}

std::uint64_t KeyboardMap::flagsOf(std::uint16_t state) const {
  std::uint64_t flags = 0;
  for (unsigned bit = 0; bit < flagsOfModifier_.size(); ++bit) {
    if (state & (1U << bit)) flags |= flagsOfModifier_[bit];
  }
  return flags;
}

std::uint8_t KeyboardMap::unnamedModifiers(std::uint16_t state) const {
  return static_cast<std::uint8_t>(state & ~lockModifiers_ & ~realModifiersOf(modifier_flag::all));
}

std::uint8_t KeyboardMap::realModifiersOf(std::uint64_t flags) const {
  std::uint32_t modifiers = 0;
  for (unsigned bit = 0; bit < flagsOfModifier_.size(); ++bit) {
    if (flags & flagsOfModifier_[bit]) modifiers |= 1U << bit;
  }
  return static_cast<std::uint8_t>(modifiers);
}

}  // namespace tapeloop::x11
