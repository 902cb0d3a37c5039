#include "platform/x11/hotkey_service.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include "platform/input_event.h"

namespace tapeloop::x11 {
namespace {

constexpr EventTargetRef dispatcherTarget{1};

}  // namespace

X11HotKeyService::X11HotKeyService(Connection& connection, const KeyboardMap& keyboard,
                                   KeyboardState& state, RawInput& input, XtestDevices& devices,
                                   KeyGrabs& grabs)
    : connection_(connection),
      keyboard_(keyboard),
      state_(state),
      devices_(devices),
      grabs_(grabs),
      keys_(input.onRawEvent([this](const RawEvent& event) {
        if (event.type > XCB_INPUT_RAW_KEY_RELEASE) return;
        if (devices_.isPosted(event.sequence, event.detail)) return;
        if (event.type == XCB_INPUT_RAW_KEY_PRESS) {
          keyWentDown(event.detail);
        } else {
          keyWentUp(event.detail);
        }
      })),
      modifiers_(state.onModifiers([this] { releaseHotKeys(); })),
      layout_(state.onLayout([this] { followKeyboard(); })),
      events_(connection.onEvent([this](const xcb_generic_event_t& event) { handle(event); })),
      beforeWait_(connection.runLoop().addBeforeWait([this] {
        if (pending_.empty()) return false;
        dispatchFirst();
        return !pending_.empty();
      })) {}

X11HotKeyService::~X11HotKeyService() {
  grabs_.keep({});
}

std::optional<EventTargetRef> X11HotKeyService::GetEventDispatcherTarget() {
  return dispatcherTarget;
}

std::vector<KeyCombination> X11HotKeyService::combinationsOf(std::uint32_t keyCode,
                                                             std::uint32_t modifiers) const {
  if (keyCode > std::numeric_limits<std::uint16_t>::max()) return {};
  std::uint8_t realModifiers = 0;
  for (const HotKeyModifier& each : hotKeyModifiers) {
    if ((modifiers & each.bit) == 0) continue;
    const std::uint8_t real = keyboard_.realModifiersOf(each.flag);
    // The keyboard has no such modifier, and without it the hotkey would be another combination.
    if (real == 0) return {};
    realModifiers |= real;
  }
  std::vector<KeyCombination> combinations;
  const auto place = keyboard_.xKeycode(static_cast<std::uint16_t>(keyCode));
  if (place) combinations.push_back({*place, realModifiers});
  if (keyCode == escapeKeyCode) {
    for (const std::uint8_t keycode : keyboard_.xKeycodesOfEscape(state_.group())) {
      if (keycode != place) combinations.push_back({keycode, realModifiers});
    }
  }
  return combinations;
}

OSStatus X11HotKeyService::RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                                               EventHotKeyID id, EventTargetRef target,
                                               std::uint32_t, HotKeyClaim claim,
                                               std::optional<EventHotKeyRef>& hotKey) {
  hotKey.reset();
  if (target != dispatcherTarget) return eventHotKeyInvalidErr;
  connection_.catchUp();
  hotKey = EventHotKeyRef{++latestRef_};
  hotKeys_.push_back({*hotKey, keyCode, modifiers, id, claim, combinationsOf(keyCode, modifiers)});
  renewGrabs();
  return noErr;
}

OSStatus X11HotKeyService::UnregisterEventHotKey(EventHotKeyRef hotKey) {
  const auto found = find(hotKey);
  if (found == hotKeys_.end()) return eventHotKeyInvalidErr;
  hotKeys_.erase(found);
  renewGrabs();
  return noErr;
}

void X11HotKeyService::setClaim(EventHotKeyRef hotKey, HotKeyClaim claim) {
  const auto found = find(hotKey);
  if (found == hotKeys_.end()) return;
  found->claim = claim;
  renewGrabs();
}

OSStatus X11HotKeyService::InstallEventHandler(EventTargetRef target, EventHandler handler,
                                               std::span<const EventTypeSpec> types,
                                               std::optional<EventHandlerRef>& installed) {
  installed.reset();
  if (target != dispatcherTarget) return eventHotKeyInvalidErr;
  handlers_.push_back({std::move(handler), {types.begin(), types.end()}});
  installed = EventHandlerRef{handlers_.size()};
  return noErr;
}

OSStatus X11HotKeyService::RemoveEventHandler(EventHandlerRef handler) {
  const auto number = static_cast<std::size_t>(handler);
  if (number == 0 || number > handlers_.size()) return eventHotKeyInvalidErr;
  handlers_[number - 1].handle = nullptr;
  return noErr;
}

std::optional<std::vector<SymbolicHotKey>> X11HotKeyService::CopySymbolicHotKeys(
    std::uint32_t keyCode, std::uint32_t modifiers) {
  const auto combinations = combinationsOf(keyCode, modifiers);
  const bool isTaken = std::any_of(combinations.begin(), combinations.end(),
                                   [this](auto each) { return grabs_.isTaken(each); });
  if (connection_.isLost()) return std::nullopt;
  std::vector<SymbolicHotKey> hotKeys;
  if (isTaken) hotKeys.push_back({true, keyCode, modifiers});
  return hotKeys;
}

std::list<X11HotKeyService::HotKey>::iterator X11HotKeyService::find(EventHotKeyRef hotKey) {
  return std::find_if(hotKeys_.begin(), hotKeys_.end(),
                      [hotKey](const HotKey& each) { return each.ref == hotKey; });
}

// Combinations that another program had are tried again.
void X11HotKeyService::renewGrabs() {
  std::vector<KeyCombination> wanted;
  for (const auto& hotKey : hotKeys_) {
    if (hotKey.claim == HotKeyClaim::observe) continue;
    wanted.insert(wanted.end(), hotKey.combinations.begin(), hotKey.combinations.end());
  }
  grabs_.keep(wanted);
}

// In another layout a place may have another keycode and a modifier another bit, and other keys may
// write Escape.
void X11HotKeyService::followKeyboard() {
  for (auto& hotKey : hotKeys_) {
    auto combinations = combinationsOf(hotKey.keyCode, hotKey.modifiers);
    if (combinations == hotKey.combinations) continue;
    hotKey.combinations = std::move(combinations);
    hotKey.down.reset();
  }
  renewGrabs();
}

// While a grabbed key is held down the server sends every key to this program as a core event, and
// no raw events.
void X11HotKeyService::handle(const xcb_generic_event_t& event) {
  const auto type = eventCode(event);
  if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) return;
  const auto keycode = as<xcb_key_press_event_t>(event).detail;
  if (devices_.isPosted(event.full_sequence, keycode)) return;
  if (type == XCB_KEY_RELEASE) {
    keyWentUp(keycode);
  } else if (!keysDown_[keycode]) {
    keyWentDown(keycode);
  }
}

void X11HotKeyService::keyWentDown(std::uint8_t keycode) {
  keysDown_.set(keycode);
  const KeyCombination pressed{
      keycode, static_cast<std::uint8_t>(state_.modifiers() & ~keyboard_.lockModifiers())};
  for (auto& hotKey : hotKeys_) {
    const auto& combinations = hotKey.combinations;
    if (std::find(combinations.begin(), combinations.end(), pressed) == combinations.end())
      continue;
    if (hotKey.claim == HotKeyClaim::take && !grabs_.has(pressed)) continue;
    hotKey.down = pressed;
    hotKey.keyIsUp = false;
    pending_.push_back({hotKey.ref, kEventHotKeyPressed});
  }
}

void X11HotKeyService::keyWentUp(std::uint8_t keycode) {
  keysDown_.reset(keycode);
  for (auto& hotKey : hotKeys_) {
    if (hotKey.down && hotKey.down->keycode == keycode) hotKey.keyIsUp = true;
  }
  releaseHotKeys();
}

void X11HotKeyService::releaseHotKeys() {
  for (auto& hotKey : hotKeys_) {
    if (!hotKey.down || !hotKey.keyIsUp) continue;
    if ((state_.heldModifiers() & hotKey.down->modifiers) != 0) continue;
    hotKey.down.reset();
    pending_.push_back({hotKey.ref, kEventHotKeyReleased});
  }
}

void X11HotKeyService::catchUp() {
  connection_.catchUp();
  while (!pending_.empty()) dispatchFirst();
}

void X11HotKeyService::dispatchFirst() {
  const PendingEvent event = pending_.front();
  pending_.pop_front();
  const auto hotKey = find(event.hotKey);
  if (hotKey != hotKeys_.end()) send({event.kind, hotKey->id});
}

// A removed handler leaves an empty entry, so that indices stay valid while a handler runs.
void X11HotKeyService::send(const HotKeyEvent& event) {
  for (std::size_t i = handlers_.size(); i-- > 0;) {
    const bool asked = std::any_of(
        handlers_[i].types.begin(), handlers_[i].types.end(), [&event](const EventTypeSpec& type) {
          return type.eventClass == kEventClassKeyboard && type.eventKind == event.kind;
        });
    if (!asked) continue;
    const auto handler = handlers_[i].handle;
    if (handler && handler(&event) == noErr) return;
  }
}

}  // namespace tapeloop::x11
