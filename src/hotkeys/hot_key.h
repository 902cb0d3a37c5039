#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "hotkeys/key_combo.h"
#include "platform/hotkey_service.h"
#include "platform/uuid.h"

namespace tapeloop {

class HotKeysController;

/// A combination of keys that acts whichever application has the focus, for as long as this lives.
/// Main thread only.
class HotKey : public std::enable_shared_from_this<HotKey> {
 public:
  using Handler = std::function<void()>;

  /// Registers it at once. A hotkey that outlives `controller` does nothing any more.
  static std::shared_ptr<HotKey> create(HotKeysController& controller, KeyCombo combo,
                                        Handler keyDown = {}, Handler keyUp = {});
  HotKey(const HotKey&) = delete;
  HotKey& operator=(const HotKey&) = delete;
  ~HotKey();

  [[nodiscard]] const Uuid& identifier() const { return identifier_; }
  [[nodiscard]] const KeyCombo& keyCombo() const { return keyCombo_; }

  [[nodiscard]] const Handler& keyDownHandler() const { return keyDownHandler_; }
  [[nodiscard]] const Handler& keyUpHandler() const { return keyUpHandler_; }
  void setKeyDownHandler(Handler handler);
  void setKeyUpHandler(Handler handler);

  [[nodiscard]] bool isPaused() const { return isPaused_; }
  /// While paused it is not registered.
  void setIsPaused(bool paused);

  /// `take` from the start. A hotkey without a handler takes nothing from anyone in any case.
  void setClaim(HotKeyClaim claim);
  [[nodiscard]] HotKeyClaim claim() const;

 private:
  HotKey(HotKeysController& controller, KeyCombo combo, Handler keyDown, Handler keyUp);
  void renewClaim();

  const std::weak_ptr<HotKeysController> controller_;
  const Uuid identifier_;
  const KeyCombo keyCombo_;
  Handler keyDownHandler_;
  Handler keyUpHandler_;
  bool isPaused_ = false;
  HotKeyClaim claim_ = HotKeyClaim::take;
};

}  // namespace tapeloop
