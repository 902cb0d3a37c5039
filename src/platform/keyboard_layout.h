#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/observable.h"

namespace tapeloop {

enum class KeyAction : std::uint16_t { down = 0, up = 1, autoKey = 2, display = 3 };

/// What the keys of one layout write: kTISPropertyUnicodeKeyLayoutData.
class UnicodeKeyLayoutData {
 public:
  virtual ~UnicodeKeyLayoutData() = default;
  /// UTF-8 of at most `maxLength` UTF-16 units; a dead key writes its accent when `action` is
  /// `display`. Nothing on failure. `modifierKeyState` and `options` are 0 so far.
  [[nodiscard]] virtual std::optional<std::string> UCKeyTranslate(
      std::uint16_t keyCode, KeyAction action, std::uint32_t modifierKeyState,
      std::uint32_t keyboardType, std::uint32_t options, std::uint32_t& deadKeyState,
      std::size_t maxLength) const = 0;
};

/// One layout as the desktop lists it. It outlives a change of the layout.
class InputSource {
 public:
  virtual ~InputSource() = default;
  /// kTISPropertyUnicodeKeyLayoutData. May be null; lives as long as the source.
  [[nodiscard]] virtual const UnicodeKeyLayoutData* TISGetInputSourceProperty() const = 0;
};

/// The layouts of the keyboard. Main thread only.
class KeyboardLayouts {
 public:
  virtual ~KeyboardLayouts() = default;
  /// The layout that writes the most of the letters a to z, the one in force if none writes more;
  /// where none writes any, that of an ANSI keyboard, which names the places of the keys. Null if
  /// there is none.
  [[nodiscard]] virtual std::shared_ptr<const InputSource>
  TISCopyCurrentASCIICapableKeyboardLayoutInputSource() = 0;
  [[nodiscard]] virtual std::uint8_t LMGetKbdType() const = 0;
  /// Another layout is in force, or the layouts were changed.
  virtual Subscription onChange(std::function<void()> callback) = 0;
};

}  // namespace tapeloop
