#include "platform/x11/hotkey_service.h"

#include <algorithm>
#include <array>
#include <utility>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include "platform/input_event.h"

namespace tapeloop::x11 {
namespace {

constexpr EventTargetRef dispatcherTarget{1};
constexpr std::uint16_t firstKeyCodeWithoutPlace = 0x80;

struct Modifier {
  std::uint32_t bit;
  std::uint64_t flag;
};
constexpr std::array<Modifier, 4> modifiersOfHotKeys{{{cmdKey, modifier_flag::command},
                                                      {shiftKey, modifier_flag::shift},
                                                      {optionKey, modifier_flag::option},
                                                      {controlKey, modifier_flag::control}}};

}  // namespace

X11HotKeyService::X11HotKeyService(Connection& connection, KeyboardMap& keyboard,
                                   KeyboardState& state, RawInput& input, PostedKeys& posted,
                                   KeyGrabs& grabs)
    : connection_(connection),
      keyboard_(keyboard),
      state_(state),
      posted_(posted),
      grabs_(grabs),
      locks_(keyboard.lockModifiers()),
      keys_(input.onKey([this](const RawEvent& event) {
        if (posted_.isPosted(event)) return;
        if (event.type == XCB_INPUT_RAW_KEY_PRESS) {
          keyWentDown(event.detail);
        } else {
          keyWentUp(event.detail);
        }
      })),
      modifiers_(state.onModifiers([this] { releaseThoseThatAreUp(); })),
      keyboardChanged_(keyboard.onChange([this] { followKeyboard(); })),
      events_(connection.onEvent([this](const xcb_generic_event_t& event) { handle(event); })),
      beforeWait_(connection.runLoop().addBeforeWait([this] {
        if (happenings_.empty()) return false;
        dispatchFirst();
        return !happenings_.empty();
      })) {}

X11HotKeyService::~X11HotKeyService() {
  grabs_.releaseAll();
}

std::optional<EventTargetRef> X11HotKeyService::GetEventDispatcherTarget() {
  return dispatcherTarget;
}

std::optional<KeyCombination> X11HotKeyService::combinationOf(std::uint32_t keyCode,
                                                              std::uint32_t modifiers) const {
  if (keyCode > 0xffff) return std::nullopt;
  const auto keycode = keyboard_.keycodeOf(static_cast<std::uint16_t>(keyCode));
  if (!keycode) return std::nullopt;
  KeyCombination combination{*keycode, 0};
  for (const auto& [bit, flag] : modifiersOfHotKeys) {
    if ((modifiers & bit) == 0) continue;
    const std::uint8_t real = keyboard_.realModifiersOf(flag);
    // Without the modifier it would be another combination.
    if (real == 0) return std::nullopt;
    combination.modifiers |= real;
  }
  return combination;
}

OSStatus X11HotKeyService::RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                                               EventHotKeyID id, EventTargetRef target,
                                               std::uint32_t, HotKeyClaim claim,
                                               std::optional<EventHotKeyRef>& hotKey) {
  hotKey.reset();
  if (target != dispatcherTarget) return eventHotKeyInvalidErr;
  connection_.catchUp();
  const auto combination = combinationOf(keyCode, modifiers);
  if (combination && claim == HotKeyClaim::take && !grab(*combination)) {
    return eventHotKeyExistsErr;
  }
  hotKey = EventHotKeyRef{++latestRef_};
  hotKeys_.push_back({*hotKey, keyCode, modifiers, id, claim, combination});
  return noErr;
}

OSStatus X11HotKeyService::UnregisterEventHotKey(EventHotKeyRef hotKey) {
  const auto found = find(hotKey);
  if (found == hotKeys_.end()) return eventHotKeyInvalidErr;
  const auto combination = found->combination;
  hotKeys_.erase(found);
  if (combination) releaseUnused(*combination);
  return noErr;
}

void X11HotKeyService::setClaim(EventHotKeyRef hotKey, HotKeyClaim claim) {
  const auto found = find(hotKey);
  if (found == hotKeys_.end() || found->claim == claim) return;
  if (found->combination && claim == HotKeyClaim::take && !grab(*found->combination)) return;
  found->claim = claim;
  if (found->combination && claim == HotKeyClaim::observe) releaseUnused(*found->combination);
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

std::optional<std::vector<SymbolicHotKey>> X11HotKeyService::CopySymbolicHotKeys() {
  if (connection_.isLost()) return std::nullopt;
  std::vector<SymbolicHotKey> candidates;
  std::vector<KeyCombination> combinations;
  for (std::uint16_t keyCode = 0; keyCode < firstKeyCodeWithoutPlace; ++keyCode) {
    const auto keycode = keyboard_.keycodeOf(keyCode);
    if (!keycode || keyboard_.isModifierKey(*keycode)) continue;
    for (unsigned set = 0; set < 1U << modifiersOfHotKeys.size(); ++set) {
      std::uint32_t modifiers = 0;
      for (std::size_t i = 0; i < modifiersOfHotKeys.size(); ++i) {
        if (set >> i & 1U) modifiers |= modifiersOfHotKeys[i].bit;
      }
      const auto combination = combinationOf(keyCode, modifiers);
      if (!combination) continue;
      candidates.push_back({true, keyCode, modifiers});
      combinations.push_back(*combination);
    }
  }
  const auto taken = grabs_.areTaken(combinations);
  if (connection_.isLost()) return std::nullopt;
  std::vector<SymbolicHotKey> result;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    if (taken[i]) result.push_back(candidates[i]);
  }
  return result;
}

std::list<X11HotKeyService::HotKey>::iterator X11HotKeyService::find(EventHotKeyRef hotKey) {
  return std::find_if(hotKeys_.begin(), hotKeys_.end(),
                      [hotKey](const HotKey& each) { return each.ref == hotKey; });
}

bool X11HotKeyService::isTaken(KeyCombination combination) const {
  return std::any_of(hotKeys_.begin(), hotKeys_.end(), [combination](const HotKey& each) {
    return each.claim == HotKeyClaim::take && each.combination == combination;
  });
}

bool X11HotKeyService::grab(KeyCombination combination) {
  return isTaken(combination) || grabs_.grab(combination);
}

void X11HotKeyService::releaseUnused(KeyCombination combination) {
  if (!isTaken(combination)) grabs_.release(combination);
}

// The same places on the keyboard may have other numbers now, and the modifiers other bits. Mostly
// nothing has changed: the server tells of a new map whenever another keyboard is used.
void X11HotKeyService::followKeyboard() {
  const std::uint8_t locks = std::exchange(locks_, keyboard_.lockModifiers());
  const bool same =
      locks == locks_ && std::all_of(hotKeys_.begin(), hotKeys_.end(), [this](const HotKey& each) {
        return each.combination == combinationOf(each.keyCode, each.modifiers);
      });
  if (same) return;
  grabs_.releaseAll();
  for (auto& hotKey : hotKeys_) {
    hotKey.combination.reset();
    hotKey.isDown = false;
  }
  for (auto& hotKey : hotKeys_) {
    const auto combination = combinationOf(hotKey.keyCode, hotKey.modifiers);
    // What another program has by now is observed until the next change.
    if (combination && hotKey.claim == HotKeyClaim::take) (void)grab(*combination);
    hotKey.combination = combination;
  }
}

// While a key of ours is down the server sends every key here, and no raw events of them.
void X11HotKeyService::handle(const xcb_generic_event_t& event) {
  const auto type = event.response_type & 0x7f;
  if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) return;
  const auto keycode = reinterpret_cast<const xcb_key_press_event_t&>(event).detail;
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
    if (hotKey.combination != pressed) continue;
    hotKey.isDown = true;
    hotKey.keyIsUp = false;
    happenings_.push_back({hotKey.ref, kEventHotKeyPressed});
  }
}

void X11HotKeyService::keyWentUp(std::uint8_t keycode) {
  keysDown_.reset(keycode);
  for (auto& hotKey : hotKeys_) {
    if (hotKey.isDown && hotKey.combination->keycode == keycode) hotKey.keyIsUp = true;
  }
  releaseThoseThatAreUp();
}

void X11HotKeyService::releaseThoseThatAreUp() {
  for (auto& hotKey : hotKeys_) {
    if (!hotKey.isDown || !hotKey.keyIsUp) continue;
    if ((state_.heldModifiers() & hotKey.combination->modifiers) != 0) continue;
    hotKey.isDown = false;
    happenings_.push_back({hotKey.ref, kEventHotKeyReleased});
  }
}

void X11HotKeyService::catchUp() {
  connection_.catchUp();
  while (!happenings_.empty()) dispatchFirst();
}

void X11HotKeyService::dispatchFirst() {
  const Happening happening = happenings_.front();
  happenings_.pop_front();
  const auto hotKey = find(happening.hotKey);
  if (hotKey != hotKeys_.end()) send({happening.kind, hotKey->id});
}

// What is removed leaves its place empty, so an index stays good while a handler runs.
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
