#include "hotkeys/carbon_keyboard_shortcuts.h"

#include <limits>
#include <utility>

#include "hotkeys/hotkey_events.h"

namespace tapeloop {
namespace {

constexpr std::uint32_t signature = fourCharCode("JWKS");

std::optional<std::uint32_t> toUnsigned(std::int64_t value) {
  if (value < 0 || value > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return static_cast<std::uint32_t>(value);
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

}  // namespace tapeloop
