#include "hotkeys/hot_keys_controller.h"

#include <algorithm>
#include <limits>

#include "hotkeys/hotkey_events.h"

namespace tapeloop {
namespace {

std::uint32_t signature() {
  static const std::uint32_t value = fourCharCode("JWHk");
  return value;
}

}  // namespace

HotKeysController::~HotKeysController() {
  for (const auto& [id, box] : boxes_) {
    if (box.carbonEventHotKey) service_.UnregisterEventHotKey(*box.carbonEventHotKey);
  }
  if (handler_) service_.RemoveEventHandler(*handler_);
}

void HotKeysController::registerHotKey(const std::shared_ptr<HotKey>& hotKey) {
  if (find(*hotKey) != boxes_.end()) return;
  if (count_ == std::numeric_limits<std::uint32_t>::max()) return;
  const std::uint32_t id = ++count_;
  HotKeyBox& box = boxes_[id];
  box = {hotKey->identifier(), hotKey, id, std::nullopt};

  const auto target = service_.GetEventDispatcherTarget();
  if (!target) return;
  const KeyCombo& combo = hotKey->keyCombo();
  std::optional<EventHotKeyRef> reference;
  const OSStatus status =
      service_.RegisterEventHotKey(combo.carbonKeyCode, combo.carbonModifiers, {signature(), id},
                                   *target, 0, hotKey->claim(), reference);
  if (status != noErr || !reference) return;
  box.carbonEventHotKey = reference;
  if (!handler_) installHandler(*target);
}

void HotKeysController::unregisterHotKey(const HotKey& hotKey) {
  const auto found = find(hotKey);
  if (found == boxes_.end()) return;
  if (found->second.carbonEventHotKey) {
    service_.UnregisterEventHotKey(*found->second.carbonEventHotKey);
  }
  boxes_.erase(found);
}

void HotKeysController::renewClaim(const HotKey& hotKey) {
  const auto found = find(hotKey);
  if (found == boxes_.end() || !found->second.carbonEventHotKey) return;
  service_.setClaim(*found->second.carbonEventHotKey, hotKey.claim());
}

std::map<std::uint32_t, HotKeyBox>::iterator HotKeysController::find(const HotKey& hotKey) {
  return std::find_if(boxes_.begin(), boxes_.end(), [&hotKey](const auto& entry) {
    return entry.second.identifier == hotKey.identifier();
  });
}

void HotKeysController::installHandler(EventTargetRef target) {
  service_.InstallEventHandler(
      target, [this](const HotKeyEvent* event) { return handle(event); }, hotKeyEventTypes,
      handler_);
}

OSStatus HotKeysController::handle(const HotKeyEvent* event) {
  if (event == nullptr) return eventNotHandledErr;
  EventHotKeyID id;
  if (const OSStatus status = readHotKeyID(*event, id); status != noErr) return status;
  if (id.signature != signature()) return eventNotHandledErr;
  const auto found = boxes_.find(id.id);
  if (found == boxes_.end()) return eventNotHandledErr;
  const auto hotKey = found->second.hotKey.lock();
  if (!hotKey) {
    boxes_.erase(found);
    return eventNotHandledErr;
  }
  if (hotKey->isPaused()) return eventNotHandledErr;
  HotKey::Handler handler;
  switch (HotKeyService::GetEventKind(*event)) {
    case kEventHotKeyPressed:
      handler = hotKey->keyDownHandler();
      break;
    case kEventHotKeyReleased:
      handler = hotKey->keyUpHandler();
      break;
    default:
      break;
  }
  if (!handler) return eventNotHandledErr;
  handler();
  return noErr;
}

}  // namespace tapeloop
