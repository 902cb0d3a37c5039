#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "hotkeys/hot_key.h"
#include "hotkeys/shortcut.h"
#include "platform/defaults_store.h"
#include "platform/desktop_services.h"
#include "platform/hotkey_service.h"

namespace tapeloop {

/// Registers the combinations of named shortcuts with the hotkey service and hands on their presses
/// and releases.
class CarbonKeyboardShortcuts {
 public:
  using Action = std::function<void(const Shortcut&)>;

  explicit CarbonKeyboardShortcuts(HotKeyService& service);
  CarbonKeyboardShortcuts(const CarbonKeyboardShortcuts&) = delete;
  CarbonKeyboardShortcuts& operator=(const CarbonKeyboardShortcuts&) = delete;
  ~CarbonKeyboardShortcuts();

  /// Takes the keys from nobody until `setClaim` says so. A shortcut that the service refuses is
  /// never pressed.
  void registerShortcut(const Shortcut& shortcut, Action onKeyDown, Action onKeyUp);
  /// Removes every registration of this combination.
  void unregisterShortcut(const Shortcut& shortcut);
  void setClaim(const Shortcut& shortcut, HotKeyClaim claim);
  /// Hands on the presses and releases that were made until now.
  void catchUp() { registrar_.service().catchUp(); }

 private:
  struct Registration {
    Shortcut shortcut;
    std::int64_t carbonHotKeyId;
    EventHotKeyRef carbonHotKey;
    Action onKeyDown;
    Action onKeyUp;
  };

  OSStatus handle(std::uint32_t id, std::uint32_t kind);

  HotKeyRegistrar registrar_;
  std::map<std::int64_t, Registration> registrations_;  // by registration id
  std::int64_t count_ = 0;                              // the latest registration id
};

/// A named slot for one combination, which the user chooses.
struct Name {
  std::string rawValue;
  std::optional<Shortcut> defaultShortcut;
  friend bool operator==(const Name& a, const Name& b) { return a.rawValue == b.rawValue; }
};

/// The slots and their actions. The combination of a slot is registered with the hotkey service
/// as soon as it is set or has an action. It takes its keys from other programs only while it has
/// an action and there is no pause.
class KeyboardShortcuts {
 public:
  using Action = std::function<void()>;
  /// Posted after every change of a slot; under `changedSlot` the user info has its raw value.
  static constexpr std::string_view didChange = "KeyboardShortcuts_shortcutByNameDidChange";
  static constexpr const char* changedSlot = "name";

  KeyboardShortcuts(HotKeyService& service, DefaultsStore& store, NotificationCenter& notifications)
      : registrar_(service), store_(store), notifications_(notifications) {}
  KeyboardShortcuts(const KeyboardShortcuts&) = delete;
  KeyboardShortcuts& operator=(const KeyboardShortcuts&) = delete;

  /// Stores the default unless the slot was ever set or cleared.
  Name name(std::string rawValue, std::optional<Shortcut> defaultShortcut = std::nullopt);

  /// Nothing if the slot is empty, was cleared or can't be read.
  [[nodiscard]] std::optional<Shortcut> shortcut(const Name& name) const;
  /// If the store refuses the value, it is in force until the program ends.
  void setShortcut(const Name& name, const std::optional<Shortcut>& shortcut);

  // Actions can't be removed. One that is added twice runs twice. The program uses `onKeyUp` alone,
  // so that playback does not begin while the user still holds the keys of the shortcut.
  void onKeyDown(const Name& name, Action action);
  void onKeyUp(const Name& name, Action action);

  /// While paused, no action runs and no keys are taken from other programs. Pauses are counted.
  void beginPause();
  void endPause();
  [[nodiscard]] bool isPaused() const { return pauses_ > 0; }

 private:
  using Actions = std::map<std::string, std::vector<Action>, std::less<>>;

  void write(const Name& name, DefaultsValue value);
  [[nodiscard]] std::optional<DefaultsValue> read(const std::string& rawValue) const;
  [[nodiscard]] std::optional<Shortcut> shortcutIn(const std::string& rawValue) const;
  void add(Actions& actions, const Name& name, Action action);
  void registerIfNew(const Shortcut& shortcut);
  void unregister(const Shortcut& shortcut);
  [[nodiscard]] bool isActedOn(const Shortcut& shortcut) const;
  void renewClaims();
  void pressed(const Shortcut& shortcut);
  void released(const Shortcut& shortcut);
  void dispatch(const Actions& actions, const Shortcut& shortcut);
  void notify(const Name& name);

  CarbonKeyboardShortcuts registrar_;
  DefaultsStore& store_;
  NotificationCenter& notifications_;
  std::unordered_set<Shortcut> registered_;
  Actions keyDownActions_;
  Actions keyUpActions_;
  int pauses_ = 0;
  std::unordered_set<Shortcut> typed_;  // pressed during a pause: their release runs no action
  std::map<std::string, DefaultsValue, std::less<>>
      unstored_;  // refused by the store; by raw value
};

}  // namespace tapeloop
