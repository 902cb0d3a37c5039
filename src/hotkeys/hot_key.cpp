#include "hotkeys/hot_key.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace tapeloop {
namespace {

std::uint32_t signature() {
  static const std::uint32_t value = fourCharCode("JWHk");
  return value;
}

}  // namespace

std::shared_ptr<HotKey> HotKey::create(HotKeysController& controller, KeyCombo combo,
                                       Handler keyDown, Handler keyUp) {
  const std::shared_ptr<HotKey> hotKey(
      new HotKey(controller, combo, std::move(keyDown), std::move(keyUp)));
  controller.registerHotKey(hotKey);
  return hotKey;
}

HotKey::HotKey(HotKeysController& controller, KeyCombo combo, Handler keyDown, Handler keyUp)
    : controller_(controller.link()),
      identifier_(Uuid::random()),
      keyCombo_(combo),
      keyDownHandler_(std::move(keyDown)),
      keyUpHandler_(std::move(keyUp)) {}

HotKey::~HotKey() {
  if (const auto controller = controller_.lock()) controller->unregisterHotKey(*this);
}

void HotKey::setKeyDownHandler(Handler handler) {
  keyDownHandler_ = std::move(handler);
  renewClaim();
}

void HotKey::setKeyUpHandler(Handler handler) {
  keyUpHandler_ = std::move(handler);
  renewClaim();
}

void HotKey::setIsPaused(bool paused) {
  isPaused_ = paused;
  const auto controller = controller_.lock();
  if (!controller) return;
  if (paused) {
    controller->unregisterHotKey(*this);
  } else {
    controller->registerHotKey(shared_from_this());
  }
}

void HotKey::setClaim(HotKeyClaim claim) {
  claim_ = claim;
  renewClaim();
}

void HotKey::renewClaim() {
  if (const auto controller = controller_.lock()) controller->renewClaim(*this);
}

HotKeyClaim HotKey::claim() const {
  return keyDownHandler_ || keyUpHandler_ ? claim_ : HotKeyClaim::observe;
}

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
