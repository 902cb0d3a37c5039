#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "platform/input_event.h"

namespace tapeloop {

using OSStatus = std::int32_t;
inline constexpr OSStatus noErr = 0;
inline constexpr OSStatus eventNotHandledErr = -9874;
inline constexpr OSStatus eventParameterNotFoundErr = -9870;
inline constexpr OSStatus eventHotKeyInvalidErr = -9879;  ///< There is no such target or hotkey.

/// The text's first character lands in the high byte.
constexpr std::uint32_t fourCharCode(const char (&text)[5]) {
  std::uint32_t value = 0;
  for (int i = 0; i < 4; ++i) value = value * 256 + static_cast<unsigned char>(text[i]);
  return value;
}

inline constexpr std::uint32_t kEventClassKeyboard = fourCharCode("keyb");
inline constexpr std::uint32_t kEventHotKeyPressed = 5;
inline constexpr std::uint32_t kEventHotKeyReleased = 6;
inline constexpr std::uint32_t kEventParamDirectObject = fourCharCode("----");
inline constexpr std::uint32_t typeEventHotKeyID = fourCharCode("hkid");

/// The bits of a hotkey's modifier word.
inline constexpr std::uint32_t cmdKey = 0x100;
inline constexpr std::uint32_t shiftKey = 0x200;
inline constexpr std::uint32_t optionKey = 0x800;
inline constexpr std::uint32_t controlKey = 0x1000;

/// A modifier that a hotkey can have.
struct HotKeyModifier {
  std::uint32_t bit;   ///< In the hotkey's modifier word.
  std::uint64_t flag;  ///< In the flags of an event.
  std::string_view glyph;
};
/// In the order in which combinations are shown. Caps lock and function have a flag and no bit.
inline constexpr std::array hotKeyModifiers{
    HotKeyModifier{controlKey, modifier_flag::control, "\u2303"},
    HotKeyModifier{optionKey, modifier_flag::option, "\u2325"},
    HotKeyModifier{shiftKey, modifier_flag::shift, "\u21e7"},
    HotKeyModifier{cmdKey, modifier_flag::command, "\u2318"},
};
/// Flags without a bit are dropped.
constexpr std::uint32_t modifierBits(std::uint64_t flags) {
  std::uint32_t bits = 0;
  for (const HotKeyModifier& each : hotKeyModifiers) {
    if (flags & each.flag) bits |= each.bit;
  }
  return bits;
}
/// Other bits are ignored.
constexpr std::uint64_t modifierFlags(std::uint64_t bits) {
  std::uint64_t flags = 0;
  for (const HotKeyModifier& each : hotKeyModifiers) {
    if (bits & each.bit) flags |= each.flag;
  }
  return flags;
}

/// The caller's identifier of a registration; comes back in its events.
struct EventHotKeyID {
  std::uint32_t signature = 0;
  std::uint32_t id = 0;
  friend bool operator==(const EventHotKeyID&, const EventHotKeyID&) = default;
};

struct EventTypeSpec {
  std::uint32_t eventClass;
  std::uint32_t eventKind;
  friend bool operator==(const EventTypeSpec&, const EventTypeSpec&) = default;
};

enum class EventTargetRef : std::uint32_t {};
enum class EventHotKeyRef : std::uint64_t {};
enum class EventHandlerRef : std::uint64_t {};

/// A press or a release of a hotkey.
struct HotKeyEvent {
  std::uint32_t kind = 0;
  std::optional<EventHotKeyID> directObject;
};

/// What the application that has the focus sees of a hotkey's key. It sees the modifiers in any
/// case.
enum class HotKeyClaim : std::uint8_t {
  observe,     ///< It gets the key as if there were no hotkey.
  take,        ///< It doesn't get the key. The hotkey is inactive while another program grabs it.
  takeIfFree,  ///< The same, but the hotkey stays active when another program grabs the key.
};

/// A combination that the desktop or another program has reserved. Fields that could not be read
/// are empty.
struct SymbolicHotKey {
  std::optional<bool> enabled;            ///< kHISymbolicHotKeyEnabled
  std::optional<std::int64_t> code;       ///< kHISymbolicHotKeyCode
  std::optional<std::int64_t> modifiers;  ///< kHISymbolicHotKeyModifiers: modifier bits
};

/// Global keyboard shortcuts, which work in whatever application has the focus. A hotkey is pressed
/// when its key goes down while exactly its modifiers are held (Caps Lock and Num Lock are
/// ignored), and released when the key and all of its modifiers are up. Key codes name positions on
/// the keyboard; Escape also matches any key that types Escape in the current layout. Keys that
/// this program posts trigger no hotkey.
///
/// Another program may have grabbed a combination; grabbing it is tried again whenever a claim or
/// the keyboard changes.
class HotKeyService {
 public:
  /// Returns `noErr` if it handled the event; otherwise the handler that was installed before it is
  /// called. May register and unregister hotkeys.
  using EventHandler = std::function<OSStatus(const HotKeyEvent*)>;

  virtual ~HotKeyService() = default;

  [[nodiscard]] virtual std::optional<EventTargetRef> GetEventDispatcherTarget() = 0;
  /// `modifiers` are modifier bits, `options` is 0. On success `hotKey` identifies the
  /// registration; it succeeds even if another program has grabbed the combination. If the key is
  /// down already, it has to be released and pressed again.
  virtual OSStatus RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                                       EventHotKeyID id, EventTargetRef target,
                                       std::uint32_t options, HotKeyClaim claim,
                                       std::optional<EventHotKeyRef>& hotKey) = 0;
  /// A hotkey that is down gets no release event.
  virtual OSStatus UnregisterEventHotKey(EventHotKeyRef hotKey) = 0;
  /// Setting the same claim again also retries the grabs that failed.
  virtual void setClaim(EventHotKeyRef hotKey, HotKeyClaim claim) = 0;

  /// Delivers the presses and releases that have happened but were not delivered yet. Otherwise
  /// they may arrive later than the same keys do as input of a window.
  virtual void catchUp() = 0;

  virtual OSStatus InstallEventHandler(EventTargetRef target, EventHandler handler,
                                       std::span<const EventTypeSpec> types,
                                       std::optional<EventHandlerRef>& installed) = 0;
  virtual OSStatus RemoveEventHandler(EventHandlerRef handler) = 0;
  [[nodiscard]] static OSStatus GetEventParameter(const HotKeyEvent& event, std::uint32_t name,
                                                  std::uint32_t type, EventHotKeyID& id) {
    if (name != kEventParamDirectObject || type != typeEventHotKeyID || !event.directObject) {
      return eventParameterNotFoundErr;
    }
    id = *event.directObject;
    return noErr;
  }
  [[nodiscard]] static std::uint32_t GetEventKind(const HotKeyEvent& event) { return event.kind; }

  /// The reserved combinations equal to this one, queried from the desktop on each call.
  /// `modifiers` are modifier bits. Nothing if the query fails.
  [[nodiscard]] virtual std::optional<std::vector<SymbolicHotKey>> CopySymbolicHotKeys(
      std::uint32_t keyCode, std::uint32_t modifiers) = 0;
};

}  // namespace tapeloop
