#pragma once

#include <deque>
#include <list>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "platform/hotkey_service.h"

namespace tapeloop::simulated {

/// Hotkeys that tests press. Combinations are pairs of key code and modifier bits.
class ScriptedHotKeyService final : public HotKeyService {
 public:
  using Combination = std::pair<std::uint32_t, std::uint32_t>;
  struct Registration {
    EventHotKeyRef ref;
    Combination combination;
    EventHotKeyID id;
    HotKeyClaim claim;
    bool isTaken = false;  ///< Other programs don't get the key.
    bool isDown = false;
  };

  std::optional<EventTargetRef> GetEventDispatcherTarget() override { return EventTargetRef{1}; }
  OSStatus RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers, EventHotKeyID id,
                               EventTargetRef target, std::uint32_t options, HotKeyClaim claim,
                               std::optional<EventHotKeyRef>& hotKey) override;
  OSStatus UnregisterEventHotKey(EventHotKeyRef hotKey) override;
  void setClaim(EventHotKeyRef hotKey, HotKeyClaim claim) override;
  void catchUp() override;
  OSStatus InstallEventHandler(EventTargetRef target, EventHandler handler,
                               std::span<const EventTypeSpec> types,
                               std::optional<EventHandlerRef>& installed) override;
  OSStatus RemoveEventHandler(EventHandlerRef handler) override;
  std::optional<std::vector<SymbolicHotKey>> CopySymbolicHotKeys(std::uint32_t,
                                                                 std::uint32_t) override {
    return symbolic;
  }

  // Simulates the user. True if the focused application gets the key too.
  bool press(Combination combination);
  void release(Combination combination);
  bool tap(Combination combination) {
    const bool isSeen = press(combination);
    release(combination);
    return isSeen;
  }
  /// From now on presses and releases are delivered by `catchUp` only.
  void lag() { lags_ = true; }
  /// The keyboard layout has changed: grabs that failed are retried.
  void keyboardChanged() { renewClaims(); }
  /// Calls the handlers, the latest first, until one returns `noErr`. Returns the last result.
  OSStatus send(const HotKeyEvent* event);

  std::list<Registration> registrations;
  std::vector<std::vector<EventTypeSpec>> installedTypes;
  /// Combinations that another program has grabbed.
  std::set<Combination> taken;
  std::optional<std::vector<SymbolicHotKey>> symbolic = std::vector<SymbolicHotKey>{};

 private:
  void renewClaims();
  void queue(HotKeyEvent event);

  std::vector<EventHandler> handlers_;  // empty: removed
  std::set<Combination> down_;
  std::deque<HotKeyEvent> pending_;
  bool lags_ = false;
  std::uint64_t latestRef_ = 0;
};

}  // namespace tapeloop::simulated
