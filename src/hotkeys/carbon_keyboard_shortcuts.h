#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>

#include "hotkeys/shortcut.h"
#include "platform/hotkey_service.h"

namespace tapeloop {

/// Registers the combinations of named shortcuts with the hotkey service and hands on their presses
/// and releases. Main thread only.
class CarbonKeyboardShortcuts {
 public:
  using Action = std::function<void(const Shortcut&)>;

  /// `service` outlives this.
  explicit CarbonKeyboardShortcuts(HotKeyService& service) : service_(service) {}
  CarbonKeyboardShortcuts(const CarbonKeyboardShortcuts&) = delete;
  CarbonKeyboardShortcuts& operator=(const CarbonKeyboardShortcuts&) = delete;
  ~CarbonKeyboardShortcuts();

  /// A shortcut that the service refuses is never pressed.
  void registerShortcut(const Shortcut& shortcut, HotKeyClaim claim, Action onKeyDown,
                        Action onKeyUp);
  /// Every registration of these keys.
  void unregisterShortcut(const Shortcut& shortcut);
  void setClaim(const Shortcut& shortcut, HotKeyClaim claim);
  /// Hands on what was typed until now.
  void catchUp() { service_.catchUp(); }

 private:
  struct Registration {
    Shortcut shortcut;
    std::int64_t carbonHotKeyId;
    EventHotKeyRef carbonHotKey;
    Action onKeyDown;
    Action onKeyUp;
  };

  OSStatus handle(const HotKeyEvent* event);

  HotKeyService& service_;
  std::map<std::int64_t, Registration> registrations_;  // by registration id
  std::int64_t count_ = 0;                              // the latest registration id
  std::optional<EventHandlerRef> handler_;
};

}  // namespace tapeloop
