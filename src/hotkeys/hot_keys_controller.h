#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>

#include "hotkeys/hot_key.h"
#include "platform/hotkey_service.h"
#include "platform/uuid.h"

namespace tapeloop {

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
