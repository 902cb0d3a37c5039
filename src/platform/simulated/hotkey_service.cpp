#include "platform/simulated/hotkey_service.h"

#include <utility>

namespace tapeloop::simulated {

OSStatus ScriptedHotKeyService::RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                                                    EventHotKeyID id, EventTargetRef, std::uint32_t,
                                                    HotKeyClaim claim,
                                                    std::optional<EventHotKeyRef>& hotKey) {
  hotKey = EventHotKeyRef{++latestRef_};
  registrations.push_back({*hotKey, {keyCode, modifiers}, id, claim});
  renewClaims();
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
  renewClaims();
}

void ScriptedHotKeyService::renewClaims() {
  for (auto& each : registrations) {
    const bool isWanted = each.claim != HotKeyClaim::observe;
    each.isTaken = isWanted && (each.isTaken || !taken.contains(each.combination));
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
  bool isSeen = !taken.contains(combination);
  const bool goesDown = down_.insert(combination).second;
  std::vector<EventHotKeyID> pressed;
  for (auto& each : registrations) {
    if (each.combination != combination) continue;
    if (each.isTaken) isSeen = false;
    const bool acts = each.claim != HotKeyClaim::take || each.isTaken;
    if (!acts || !goesDown) continue;
    each.isDown = true;
    pressed.push_back(each.id);
  }
  for (const auto& id : pressed) queue({kEventHotKeyPressed, id});
  return isSeen;
}

void ScriptedHotKeyService::release(Combination combination) {
  down_.erase(combination);
  std::vector<EventHotKeyID> released;
  for (auto& each : registrations) {
    if (each.combination != combination || !std::exchange(each.isDown, false)) continue;
    released.push_back(each.id);
  }
  for (const auto& id : released) queue({kEventHotKeyReleased, id});
}

void ScriptedHotKeyService::queue(HotKeyEvent event) {
  pending_.push_back(event);
  if (!lags_) catchUp();
}

void ScriptedHotKeyService::catchUp() {
  while (!pending_.empty()) {
    const HotKeyEvent event = pending_.front();
    pending_.pop_front();
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

}  // namespace tapeloop::simulated
