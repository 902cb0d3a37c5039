#pragma once

#include <bitset>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <optional>
#include <vector>

#include "platform/hotkey_service.h"
#include "platform/x11/key_grabs.h"
#include "platform/x11/keyboard_map.h"
#include "platform/x11/keyboard_state.h"
#include "platform/x11/record.h"
#include "platform/x11/xtest_devices.h"

namespace tapeloop::x11 {

/// Sees hotkeys through raw events, which come for every key whichever client has the keyboard, and
/// keeps them from other programs by passive grabs. Handlers run from a hook of the run loop, one
/// in each round of the hooks, and never while another event is handed out.
class X11HotKeyService final : public HotKeyService {
 public:
  X11HotKeyService(Connection& connection, const KeyboardMap& keyboard, KeyboardState& state,
                   RawInput& input, XtestDevices& devices, KeyGrabs& grabs);
  X11HotKeyService(const X11HotKeyService&) = delete;
  X11HotKeyService& operator=(const X11HotKeyService&) = delete;
  ~X11HotKeyService() override;

  std::optional<EventTargetRef> GetEventDispatcherTarget() override;
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
  [[nodiscard]] std::optional<std::vector<SymbolicHotKey>> CopySymbolicHotKeys(
      std::uint32_t keyCode, std::uint32_t modifiers) override;

 private:
  struct HotKey {
    EventHotKeyRef ref;
    std::uint32_t keyCode;
    std::uint32_t modifiers;  // modifier bits
    EventHotKeyID id;
    HotKeyClaim claim;
    // One for each key that it may be pressed with; none when the keyboard lacks the keys or a
    // modifier.
    std::vector<KeyCombination> combinations;
    std::optional<KeyCombination> down = std::nullopt;
    bool keyIsUp = false;  // while it is down: only modifiers are still held
  };
  struct PendingEvent {
    EventHotKeyRef hotKey;
    std::uint32_t kind;
  };

  [[nodiscard]] std::vector<KeyCombination> combinationsOf(std::uint32_t keyCode,
                                                           std::uint32_t modifiers) const;
  [[nodiscard]] std::list<HotKey>::iterator find(EventHotKeyRef hotKey);
  void renewGrabs();
  void followKeyboard();

  void handle(const xcb_generic_event_t& event);
  void keyWentDown(std::uint8_t keycode);
  void keyWentUp(std::uint8_t keycode);
  void releaseHotKeys();
  void dispatchFirst();
  void send(const HotKeyEvent& event);

  Connection& connection_;
  const KeyboardMap& keyboard_;
  KeyboardState& state_;
  XtestDevices& devices_;
  KeyGrabs& grabs_;
  std::list<HotKey> hotKeys_;
  std::uint64_t latestRef_ = 0;
  struct Handler {
    EventHandler handle;  // empty: removed
    std::vector<EventTypeSpec> types;
  };
  std::vector<Handler> handlers_;
  std::deque<PendingEvent> pending_;  // for the handlers, in order
  std::bitset<256> keysDown_;         // by keycode
  Subscription keys_;
  Subscription modifiers_;
  Subscription layout_;
  Subscription events_;
  Subscription beforeWait_;
};

}  // namespace tapeloop::x11
