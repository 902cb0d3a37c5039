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
    bool isTaken = false;  ///< From every other program.
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

  // What the user does with a combination. True if the focused application sees the key too.
  bool press(Combination combination);
  void release(Combination combination);
  bool tap(Combination combination) {
    const bool isSeen = press(combination);
    release(combination);
    return isSeen;
  }
  /// From now on presses and releases are handed out only when somebody catches up.
  void lag() { lags_ = true; }
  /// Another map of the keyboard: what could not be taken is tried again.
  void keyboardChanged() { renewClaims(); }
  /// Hands the event to the handlers, the one installed last first. What the last one asked said.
  OSStatus send(const HotKeyEvent* event);

  std::list<Registration> registrations;
  std::vector<std::vector<EventTypeSpec>> installedTypes;
  /// Another program has these.
  std::set<Combination> taken;
  std::optional<std::vector<SymbolicHotKey>> symbolic = std::vector<SymbolicHotKey>{};

 private:
  void renewClaims();
  void happen(HotKeyEvent event);

  std::vector<EventHandler> handlers_;  // empty: removed
  std::set<Combination> down_;
  std::deque<HotKeyEvent> happenings_;  // not handed out yet
  bool lags_ = false;
  std::uint64_t latestRef_ = 0;
};

}  // namespace tapeloop::simulated
