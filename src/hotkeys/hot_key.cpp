#include "hotkeys/hot_key.h"

#include <utility>

#include "hotkeys/hot_keys_controller.h"

namespace tapeloop {

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

}  // namespace tapeloop
