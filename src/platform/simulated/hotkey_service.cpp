#include "platform/simulated/hotkey_service.h"

#include <algorithm>

namespace tapeloop::simulated {

OSStatus ScriptedHotKeyService::RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                                                    EventHotKeyID id, EventTargetRef, std::uint32_t,
                                                    HotKeyClaim claim,
                                                    std::optional<EventHotKeyRef>& hotKey) {
  hotKey.reset();
  const Combination combination{keyCode, modifiers};
  if (claim == HotKeyClaim::take && taken.count(combination) > 0) return eventHotKeyInvalidErr;
  hotKey = EventHotKeyRef{++latestRef_};
  registrations.push_back({*hotKey, combination, id, claim});
  return noErr;
}

OSStatus ScriptedHotKeyService::UnregisterEventHotKey(EventHotKeyRef hotKey) {
  const auto removed =
      std::erase_if(registrations, [hotKey](const auto& each) { return each.ref == hotKey; });
  return removed > 0 ? noErr : eventHotKeyInvalidErr;
}

void ScriptedHotKeyService::setClaim(EventHotKeyRef hotKey, HotKeyClaim claim) {
  for (auto& each : registrations) {
    if (each.ref == hotKey) each.claim = claim;
  }
}

OSStatus ScriptedHotKeyService::InstallEventHandler(EventTargetRef, EventHandler handler,
                                                    std::span<const EventTypeSpec> types,
                                                    std::optional<EventHandlerRef>& installed) {
  handlers_.push_back(std::move(handler));
  installedTypes.emplace_back(types.begin(), types.end());
  installed = EventHandlerRef{handlers_.size()};
  return noErr;
}

OSStatus ScriptedHotKeyService::RemoveEventHandler(EventHandlerRef handler) {
  handlers_.at(static_cast<std::size_t>(handler) - 1) = nullptr;
  return noErr;
}

bool ScriptedHotKeyService::press(Combination combination) {
  const bool isSeen =
      std::none_of(registrations.begin(), registrations.end(), [&](const auto& each) {
        return each.combination == combination && each.claim != HotKeyClaim::observe;
      });
  tell(combination, kEventHotKeyPressed);
  return isSeen;
}

void ScriptedHotKeyService::release(Combination combination) {
  tell(combination, kEventHotKeyReleased);
}

void ScriptedHotKeyService::tell(Combination combination, std::uint32_t kind) {
  std::vector<EventHotKeyID> ids;
  for (const auto& each : registrations) {
    if (each.combination == combination) ids.push_back(each.id);
  }
  for (const auto& id : ids) {
    const HotKeyEvent event{kind, id};
    send(&event);
  }
}

OSStatus ScriptedHotKeyService::send(const HotKeyEvent* event) {
  OSStatus status = eventNotHandledErr;
  for (std::size_t i = handlers_.size(); i-- > 0;) {
    if (handlers_[i]) status = handlers_[i](event);
    if (status == noErr) break;
  }
  return status;
}

const ScriptedHotKeyService::Registration* ScriptedHotKeyService::find(
    Combination combination) const {
  const auto found =
      std::find_if(registrations.begin(), registrations.end(),
                   [&](const auto& each) { return each.combination == combination; });
  return found != registrations.end() ? &*found : nullptr;
}

}  // namespace tapeloop::simulated
