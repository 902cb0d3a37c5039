#include "hotkeys/hot_key.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace tapeloop {

HotKeyRegistrar::~HotKeyRegistrar() {
  if (installed_) service_.RemoveEventHandler(*installed_);
}

std::optional<EventHotKeyRef> HotKeyRegistrar::add(std::uint32_t keyCode, std::uint32_t modifiers,
                                                   std::uint32_t id, HotKeyClaim claim) {
  constexpr std::array<EventTypeSpec, 2> types{
      {{kEventClassKeyboard, kEventHotKeyPressed}, {kEventClassKeyboard, kEventHotKeyReleased}}};
  const auto target = service_.GetEventDispatcherTarget();
  if (!target) return std::nullopt;
  std::optional<EventHotKeyRef> hotKey;
  const OSStatus status =
      service_.RegisterEventHotKey(keyCode, modifiers, {signature_, id}, *target, 0, claim, hotKey);
  if (status != noErr || !hotKey) return std::nullopt;
  if (!installed_) {
    service_.InstallEventHandler(
        *target, [this](const HotKeyEvent* event) { return handle(event); }, types, installed_);
  }
  return hotKey;
}

OSStatus HotKeyRegistrar::handle(const HotKeyEvent* event) {
  if (event == nullptr) return eventNotHandledErr;
  EventHotKeyID id;
  const OSStatus status =
      HotKeyService::GetEventParameter(*event, kEventParamDirectObject, typeEventHotKeyID, id);
  if (status != noErr) return status;
  if (id.signature != signature_) return eventNotHandledErr;
  return handler_(id.id, HotKeyService::GetEventKind(*event));
}

std::shared_ptr<HotKey> HotKey::create(HotKeysController& controller, KeyCombo combo,
                                       Handler keyDown, Handler keyUp) {
  const std::shared_ptr<HotKey> hotKey(
      new HotKey(controller, combo, std::move(keyDown), std::move(keyUp)));
  controller.registerHotKey(hotKey);
  return hotKey;
}

HotKey::HotKey(HotKeysController& controller, KeyCombo combo, Handler keyDown, Handler keyUp)
    : controller_(controller),
      identifier_(Uuid::random()),
      keyCombo_(combo),
      keyDownHandler_(std::move(keyDown)),
      keyUpHandler_(std::move(keyUp)) {}

HotKey::~HotKey() {
  controller_.unregisterHotKey(*this);
}

void HotKey::setKeyDownHandler(Handler handler) {
  keyDownHandler_ = std::move(handler);
  controller_.renewClaim(*this);
}

void HotKey::setKeyUpHandler(Handler handler) {
  keyUpHandler_ = std::move(handler);
  controller_.renewClaim(*this);
}

void HotKey::setIsPaused(bool paused) {
  isPaused_ = paused;
  if (paused) {
    controller_.unregisterHotKey(*this);
  } else {
    controller_.registerHotKey(shared_from_this());
  }
}

void HotKey::setClaim(HotKeyClaim claim) {
  claim_ = claim;
  controller_.renewClaim(*this);
}

HotKeyClaim HotKey::claim() const {
  return keyDownHandler_ || keyUpHandler_ ? claim_ : HotKeyClaim::observe;
}

HotKeysController::HotKeysController(HotKeyService& service)
    : registrar_(service, fourCharCode("JWHk"),
                 [this](std::uint32_t id, std::uint32_t kind) { return handle(id, kind); }) {}

HotKeysController::~HotKeysController() {
  for (const auto& [id, box] : boxes_) {
    if (box.carbonEventHotKey) registrar_.remove(*box.carbonEventHotKey);
  }
}

void HotKeysController::registerHotKey(const std::shared_ptr<HotKey>& hotKey) {
  if (find(*hotKey) != boxes_.end()) return;
  if (count_ == std::numeric_limits<std::uint32_t>::max()) return;
  const std::uint32_t id = ++count_;
  const KeyCombo& combo = hotKey->keyCombo();
  boxes_[id] = {hotKey->identifier(), hotKey, id,
                registrar_.add(combo.carbonKeyCode, combo.carbonModifiers, id, hotKey->claim())};
}

void HotKeysController::unregisterHotKey(const HotKey& hotKey) {
  const auto found = find(hotKey);
  if (found == boxes_.end()) return;
  if (found->second.carbonEventHotKey) {
    registrar_.remove(*found->second.carbonEventHotKey);
  }
  boxes_.erase(found);
}

void HotKeysController::renewClaim(const HotKey& hotKey) {
  const auto found = find(hotKey);
  if (found == boxes_.end() || !found->second.carbonEventHotKey) return;
  registrar_.service().setClaim(*found->second.carbonEventHotKey, hotKey.claim());
}

std::map<std::uint32_t, HotKeyBox>::iterator HotKeysController::find(const HotKey& hotKey) {
  return std::find_if(boxes_.begin(), boxes_.end(), [&hotKey](const auto& entry) {
    return entry.second.identifier == hotKey.identifier();
  });
}

OSStatus HotKeysController::handle(std::uint32_t id, std::uint32_t kind) {
  const auto found = boxes_.find(id);
  if (found == boxes_.end()) return eventNotHandledErr;
  const auto hotKey = found->second.hotKey.lock();
  if (!hotKey) {
    boxes_.erase(found);
    return eventNotHandledErr;
  }
  if (hotKey->isPaused()) return eventNotHandledErr;
  // A copy: it may destroy its hotkey.
  const HotKey::Handler handler = kind == kEventHotKeyPressed    ? hotKey->keyDownHandler()
                                  : kind == kEventHotKeyReleased ? hotKey->keyUpHandler()
                                                                 : nullptr;
  if (!handler) return eventNotHandledErr;
  handler();
  return noErr;
}

}  // namespace tapeloop
