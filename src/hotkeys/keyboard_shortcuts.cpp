#include "hotkeys/keyboard_shortcuts.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace tapeloop {
namespace {

std::string storeKey(std::string_view rawValue) {
  return "KeyboardShortcuts_" + std::string(rawValue);
}

}  // namespace

CarbonKeyboardShortcuts::CarbonKeyboardShortcuts(HotKeyService& service)
    : registrar_(service, fourCharCode("JWKS"),
                 [this](std::uint32_t id, std::uint32_t kind) { return handle(id, kind); }) {}

CarbonKeyboardShortcuts::~CarbonKeyboardShortcuts() {
  for (const auto& [id, each] : registrations_) registrar_.remove(each.carbonHotKey);
}

void CarbonKeyboardShortcuts::registerShortcut(const Shortcut& shortcut, Action onKeyDown,
                                               Action onKeyUp) {
  if (count_ == std::numeric_limits<std::int64_t>::max()) return;
  ++count_;
  for (const std::int64_t number : {shortcut.carbonKeyCode, shortcut.carbonModifiers, count_}) {
    if (!std::in_range<std::uint32_t>(number)) return;
  }
  const auto hotKey = registrar_.add(static_cast<std::uint32_t>(shortcut.carbonKeyCode),
                                     static_cast<std::uint32_t>(shortcut.carbonModifiers),
                                     static_cast<std::uint32_t>(count_), HotKeyClaim::observe);
  if (!hotKey) return;
  registrations_[count_] = {shortcut, count_, *hotKey, std::move(onKeyDown), std::move(onKeyUp)};
}

void CarbonKeyboardShortcuts::unregisterShortcut(const Shortcut& shortcut) {
  std::erase_if(registrations_, [&](const auto& entry) {
    if (entry.second.shortcut != shortcut) return false;
    registrar_.remove(entry.second.carbonHotKey);
    return true;
  });
}

void CarbonKeyboardShortcuts::setClaim(const Shortcut& shortcut, HotKeyClaim claim) {
  for (const auto& [id, each] : registrations_) {
    if (each.shortcut == shortcut) registrar_.service().setClaim(each.carbonHotKey, claim);
  }
}

OSStatus CarbonKeyboardShortcuts::handle(std::uint32_t id, std::uint32_t kind) {
  const auto found = registrations_.find(id);
  if (found == registrations_.end()) return eventNotHandledErr;
  if (kind != kEventHotKeyPressed && kind != kEventHotKeyReleased) return eventNotHandledErr;
  // A copy: the action may unregister it.
  const Registration registration = found->second;
  const Action& action =
      kind == kEventHotKeyPressed ? registration.onKeyDown : registration.onKeyUp;
  action(registration.shortcut);
  return noErr;
}

Name KeyboardShortcuts::name(std::string rawValue, std::optional<Shortcut> defaultShortcut) {
  Name name{std::move(rawValue), defaultShortcut};
  if (defaultShortcut && !read(name.rawValue)) setShortcut(name, defaultShortcut);
  return name;
}

std::optional<Shortcut> KeyboardShortcuts::shortcut(const Name& name) const {
  return shortcutIn(name.rawValue);
}

std::optional<Shortcut> KeyboardShortcuts::shortcutIn(const std::string& rawValue) const {
  const auto value = read(rawValue);
  const auto* text = value ? std::get_if<std::string>(&*value) : nullptr;
  return text != nullptr ? shortcutFromJson(*text) : std::nullopt;
}

void KeyboardShortcuts::setShortcut(const Name& name, const std::optional<Shortcut>& shortcut) {
  const auto old = this->shortcut(name);
  if (!shortcut && !old) return;
  if (old) unregister(*old);
  if (shortcut) registerIfNew(*shortcut);
  write(name, shortcut ? DefaultsValue(toJson(*shortcut)) : DefaultsValue(false));
  // Another slot may have the same combination.
  if (old && isActedOn(*old)) registerIfNew(*old);
  renewClaims();
  notify(name);
}

void KeyboardShortcuts::onKeyDown(const Name& name, Action action) {
  add(keyDownActions_, name, std::move(action));
}

void KeyboardShortcuts::onKeyUp(const Name& name, Action action) {
  add(keyUpActions_, name, std::move(action));
}

void KeyboardShortcuts::add(Actions& actions, const Name& name, Action action) {
  actions[name.rawValue].push_back(std::move(action));
  if (const auto held = shortcut(name)) registerIfNew(*held);
  renewClaims();
}

void KeyboardShortcuts::beginPause() {
  ++pauses_;
  renewClaims();
}

void KeyboardShortcuts::endPause() {
  // So that keys pressed during the pause, but reported late, still count as pressed during it.
  registrar_.catchUp();
  --pauses_;
  renewClaims();
}

void KeyboardShortcuts::registerIfNew(const Shortcut& shortcut) {
  if (!registered_.insert(shortcut).second) return;
  registrar_.registerShortcut(
      shortcut, [this](const Shortcut& each) { pressed(each); },
      [this](const Shortcut& each) { released(each); });
}

void KeyboardShortcuts::unregister(const Shortcut& shortcut) {
  registrar_.unregisterShortcut(shortcut);
  registered_.erase(shortcut);
}

bool KeyboardShortcuts::isActedOn(const Shortcut& shortcut) const {
  const auto holds = [&](const auto& entry) { return shortcutIn(entry.first) == shortcut; };
  return std::ranges::any_of(keyDownActions_, holds) || std::ranges::any_of(keyUpActions_, holds);
}

void KeyboardShortcuts::renewClaims() {
  for (const Shortcut& each : registered_) {
    const bool isTaken = !isPaused() && isActedOn(each);
    registrar_.setClaim(each, isTaken ? HotKeyClaim::take : HotKeyClaim::observe);
  }
}

// The recorder ends its pause when it accepts a combination, while the keys are still down. Their
// release must not run the action of the slot that was just set.
void KeyboardShortcuts::pressed(const Shortcut& shortcut) {
  if (isPaused()) {
    typed_.insert(shortcut);
  } else {
    typed_.erase(shortcut);
    dispatch(keyDownActions_, shortcut);
  }
}

void KeyboardShortcuts::released(const Shortcut& shortcut) {
  if (typed_.erase(shortcut) == 0 && !isPaused()) dispatch(keyUpActions_, shortcut);
}

// An action may change slots and add actions. Each slot is read when its turn comes; actions added
// meanwhile run from the next press or release on. Names are never removed from a table.
void KeyboardShortcuts::dispatch(const Actions& actions, const Shortcut& shortcut) {
  std::vector<std::string> names;
  for (const auto& [rawValue, list] : actions) names.push_back(rawValue);
  for (const auto& rawValue : names) {
    if (shortcutIn(rawValue) != shortcut) continue;
    const auto due = actions.find(rawValue)->second;
    for (const auto& action : due) action();
  }
}

void KeyboardShortcuts::notify(const Name& name) {
  notifications_.postNotificationName(didChange, {{changedSlot, name.rawValue}});
}

std::optional<DefaultsValue> KeyboardShortcuts::read(const std::string& rawValue) const {
  if (const auto found = unstored_.find(rawValue); found != unstored_.end()) return found->second;
  return store_.objectForKey(storeKey(rawValue));
}

void KeyboardShortcuts::write(const Name& name, DefaultsValue value) {
  if (store_.setObjectForKey(value, storeKey(name.rawValue)) == StoreStatus::stored) {
    unstored_.erase(name.rawValue);
  } else {
    unstored_.insert_or_assign(name.rawValue, std::move(value));
  }
}

}  // namespace tapeloop
