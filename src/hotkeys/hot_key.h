#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "hotkeys/key_combo.h"
#include "platform/hotkey_service.h"
#include "platform/uuid.h"

namespace tapeloop {

/// What both kinds of hotkeys share: `HotKey` and the named shortcuts. Registers combinations with
/// the service under one signature, and gets the presses and releases of these alone.
class HotKeyRegistrar {
 public:
  /// `id` is the one of the registration, `kind` that of the event. Returns `noErr` if it consumed
  /// the event.
  using Handler = std::function<OSStatus(std::uint32_t id, std::uint32_t kind)>;

  HotKeyRegistrar(HotKeyService& service, std::uint32_t signature, Handler handler)
      : service_(service), signature_(signature), handler_(std::move(handler)) {}
  HotKeyRegistrar(const HotKeyRegistrar&) = delete;
  HotKeyRegistrar& operator=(const HotKeyRegistrar&) = delete;
  ~HotKeyRegistrar();

  /// Nothing if the service refuses.
  std::optional<EventHotKeyRef> add(std::uint32_t keyCode, std::uint32_t modifiers,
                                    std::uint32_t id, HotKeyClaim claim);
  void remove(EventHotKeyRef hotKey) { service_.UnregisterEventHotKey(hotKey); }
  [[nodiscard]] HotKeyService& service() { return service_; }

 private:
  OSStatus handle(const HotKeyEvent* event);

  HotKeyService& service_;
  const std::uint32_t signature_;
  const Handler handler_;
  std::optional<EventHandlerRef> installed_;  // from the first registration on
};

class HotKeysController;

/// A combination of keys that acts whichever application has the focus. It is registered during the
/// lifetime of the object.
class HotKey : public std::enable_shared_from_this<HotKey> {
 public:
  using Handler = std::function<void()>;

  /// Also registers it.
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
  /// While paused it is not registered. The program pauses none: it changes claims instead.
  void setIsPaused(bool paused);

  /// Initially `take`. While there is no handler it counts as `observe`.
  void setClaim(HotKeyClaim claim);
  [[nodiscard]] HotKeyClaim claim() const;

 private:
  HotKey(HotKeysController& controller, KeyCombo combo, Handler keyDown, Handler keyUp);

  HotKeysController& controller_;
  const Uuid identifier_;
  const KeyCombo keyCombo_;
  Handler keyDownHandler_;
  Handler keyUpHandler_;
  bool isPaused_ = false;
  HotKeyClaim claim_ = HotKeyClaim::take;
};

/// One entry of the registry. Does not keep its hotkey alive.
struct HotKeyBox {
  Uuid identifier;
  std::weak_ptr<HotKey> hotKey;
  std::uint32_t carbonHotKeyID = 0;
  std::optional<EventHotKeyRef> carbonEventHotKey;  ///< Empty if the platform refused.
};

/// The registry of hotkeys: one for each hotkey service.
class HotKeysController {
 public:
  explicit HotKeysController(HotKeyService& service);
  HotKeysController(const HotKeysController&) = delete;
  HotKeysController& operator=(const HotKeysController&) = delete;
  ~HotKeysController();

  /// No effect if it is registered already.
  void registerHotKey(const std::shared_ptr<HotKey>& hotKey);
  void unregisterHotKey(const HotKey& hotKey);
  /// To be called when the hotkey's claim may have changed.
  void renewClaim(const HotKey& hotKey);

 private:
  [[nodiscard]] std::map<std::uint32_t, HotKeyBox>::iterator find(const HotKey& hotKey);
  OSStatus handle(std::uint32_t id, std::uint32_t kind);

  HotKeyRegistrar registrar_;
  std::map<std::uint32_t, HotKeyBox> boxes_;  // by registration id
  std::uint32_t count_ = 0;                   // the latest registration id
};

}  // namespace tapeloop
