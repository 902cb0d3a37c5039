#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "hotkeys/key_combo.h"
#include "platform/hotkey_service.h"
#include "platform/uuid.h"

namespace tapeloop {

/// What both layers of hotkeys listen to.
inline constexpr std::array<EventTypeSpec, 2> hotKeyEventTypes{
    {{kEventClassKeyboard, kEventHotKeyPressed}, {kEventClassKeyboard, kEventHotKeyReleased}}};

/// Which registration the event is about.
inline OSStatus readHotKeyID(const HotKeyEvent& event, EventHotKeyID& id) {
  return HotKeyService::GetEventParameter(event, kEventParamDirectObject, typeEventHotKeyID, id);
}

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

/// One entry of the registry. It does not keep its hotkey alive.
struct HotKeyBox {
  Uuid identifier;
  std::weak_ptr<HotKey> hotKey;
  std::uint32_t carbonHotKeyID = 0;
  std::optional<EventHotKeyRef> carbonEventHotKey;  ///< None if the platform refused.
};

/// The registry of hotkeys: one for each hotkey service. Main thread only.
class HotKeysController {
 public:
  /// `service` outlives the controller.
  explicit HotKeysController(HotKeyService& service) : service_(service) {}
  HotKeysController(const HotKeysController&) = delete;
  HotKeysController& operator=(const HotKeysController&) = delete;
  ~HotKeysController();

  /// Empty once the controller is gone. Keeps nothing alive.
  [[nodiscard]] std::weak_ptr<HotKeysController> link() const { return self_; }

  /// Twice is once.
  void registerHotKey(const std::shared_ptr<HotKey>& hotKey);
  void unregisterHotKey(const HotKey& hotKey);
  /// The hotkey's claim may have changed.
  void renewClaim(const HotKey& hotKey);

  [[nodiscard]] const std::map<std::uint32_t, HotKeyBox>& boxes() const { return boxes_; }

 private:
  [[nodiscard]] std::map<std::uint32_t, HotKeyBox>::iterator find(const HotKey& hotKey);
  void installHandler(EventTargetRef target);
  OSStatus handle(const HotKeyEvent* event);

  HotKeyService& service_;
  std::map<std::uint32_t, HotKeyBox> boxes_;  // by registration id
  std::uint32_t count_ = 0;                   // the latest registration id
  std::optional<EventHandlerRef> handler_;
  const std::shared_ptr<HotKeysController> self_{this, [](HotKeysController*) {}};
};

}  // namespace tapeloop
