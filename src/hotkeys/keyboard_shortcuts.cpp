#include "hotkeys/keyboard_shortcuts.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "hotkeys/hot_key.h"

namespace tapeloop {
namespace {

constexpr std::uint32_t signature = fourCharCode("JWKS");

std::optional<std::uint32_t> toUnsigned(std::int64_t value) {
  if (value < 0 || value > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return static_cast<std::uint32_t>(value);
}

std::string storeKey(std::string_view rawValue) {
  return "KeyboardShortcuts_" + std::string(rawValue);
}

}  // namespace

CarbonKeyboardShortcuts::~CarbonKeyboardShortcuts() {
  for (const auto& [id, each] : registrations_) service_.UnregisterEventHotKey(each.carbonHotKey);
  if (handler_) service_.RemoveEventHandler(*handler_);
}

void CarbonKeyboardShortcuts::registerShortcut(const Shortcut& shortcut, HotKeyClaim claim,
                                               Action onKeyDown, Action onKeyUp) {
  if (count_ == std::numeric_limits<std::int64_t>::max()) return;
  ++count_;
  const auto keyCode = toUnsigned(shortcut.carbonKeyCode);
  const auto modifiers = toUnsigned(shortcut.carbonModifiers);
  const auto id = toUnsigned(count_);
  const auto target = service_.GetEventDispatcherTarget();
  if (!keyCode || !modifiers || !id || !target) return;

  std::optional<EventHotKeyRef> reference;
  const OSStatus status = service_.RegisterEventHotKey(*keyCode, *modifiers, {signature, *id},
                                                       *target, 0, claim, reference);
  if (status != noErr || !reference) return;
  registrations_[count_] = {shortcut, count_, *reference, std::move(onKeyDown), std::move(onKeyUp)};
  if (handler_) return;
  service_.InstallEventHandler(
      *target, [this](const HotKeyEvent* event) { return handle(event); }, hotKeyEventTypes,
      handler_);
}

void CarbonKeyboardShortcuts::unregisterShortcut(const Shortcut& shortcut) {
  std::erase_if(registrations_, [&](const auto& entry) {
    if (entry.second.shortcut != shortcut) return false;
    service_.UnregisterEventHotKey(entry.second.carbonHotKey);
    return true;
  });
}

void CarbonKeyboardShortcuts::setClaim(const Shortcut& shortcut, HotKeyClaim claim) {
  for (const auto& [id, each] : registrations_) {
    if (each.shortcut == shortcut) service_.setClaim(each.carbonHotKey, claim);
  }
}

OSStatus CarbonKeyboardShortcuts::handle(const HotKeyEvent* event) {
  if (event == nullptr) return eventNotHandledErr;
  EventHotKeyID id;
  if (const OSStatus status = readHotKeyID(*event, id); status != noErr) return status;
  if (id.signature != signature) return eventNotHandledErr;
  const auto found = registrations_.find(id.id);
  if (found == registrations_.end()) return eventNotHandledErr;
  // The action may unregister it.
  const Registration registration = found->second;
  switch (HotKeyService::GetEventKind(*event)) {
    case kEventHotKeyPressed:
      registration.onKeyDown(registration.shortcut);
      return noErr;
    case kEventHotKeyReleased:
      registration.onKeyUp(registration.shortcut);
      return noErr;
    default:
      return eventNotHandledErr;
  }
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
  if (shortcut) registerIfNew(*shortcut, &name);
  write(name, shortcut ? DefaultsValue(toJson(*shortcut)) : DefaultsValue(false));
  // Another slot may hold what this one held.
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
  // What was typed during the pause belongs to it.
  registrar_.catchUp();
  --pauses_;
  renewClaims();
}

void KeyboardShortcuts::registerIfNew(const Shortcut& shortcut, const Name* holder) {
  if (!registered_.insert(shortcut).second) return;
  registrar_.registerShortcut(
      shortcut, claimOf(shortcut, holder), [this](const Shortcut& each) { pressed(each); },
      [this](const Shortcut& each) { released(each); });
}

void KeyboardShortcuts::unregister(const Shortcut& shortcut) {
  registrar_.unregisterShortcut(shortcut);
  registered_.erase(shortcut);
}

bool KeyboardShortcuts::isActedOn(const Shortcut& shortcut, const Name* holder) const {
  const auto has = [&](const Actions& actions) {
    return std::any_of(actions.begin(), actions.end(), [&](const auto& entry) {
      const std::string& rawValue = entry.first;
      return (holder != nullptr && holder->rawValue == rawValue) ||
             shortcutIn(rawValue) == shortcut;
    });
  };
  return has(keyDownActions_) || has(keyUpActions_);
}

HotKeyClaim KeyboardShortcuts::claimOf(const Shortcut& shortcut, const Name* holder) const {
  return !isPaused() && isActedOn(shortcut, holder) ? HotKeyClaim::take : HotKeyClaim::observe;
}

void KeyboardShortcuts::renewClaims() {
  for (const Shortcut& each : registered_) registrar_.setClaim(each, claimOf(each));
}

// The pause may end while the keys are still down: with the combination that was typed.
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

// An action may change slots and add actions: each slot counts with what it holds when its turn
// comes, and actions that are added meanwhile wait for the next time. Names never leave a table.
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
