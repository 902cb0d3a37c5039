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

/// The characters of one layout's keys: kTISPropertyUnicodeKeyLayoutData.
class UnicodeKeyLayoutData {
 public:
  virtual ~UnicodeKeyLayoutData() = default;
  /// At most `maxLength` UTF-16 units, in UTF-8; for a dead key its accent if `action` is
  /// `display`. Nothing on failure. Callers pass 0 for `modifierKeyState` and `options`.
  [[nodiscard]] virtual std::optional<std::string> UCKeyTranslate(
      std::uint16_t keyCode, KeyAction action, std::uint32_t modifierKeyState,
      std::uint32_t keyboardType, std::uint32_t options, std::uint32_t& deadKeyState,
      std::size_t maxLength) const = 0;
};

/// One layout. Stays valid when the current layout changes.
class InputSource {
 public:
  virtual ~InputSource() = default;
  /// kTISPropertyUnicodeKeyLayoutData. May be null; valid as long as the source.
  [[nodiscard]] virtual const UnicodeKeyLayoutData* TISGetInputSourceProperty() const = 0;
};

/// The layouts of the keyboard.
class KeyboardLayouts {
 public:
  virtual ~KeyboardLayouts() = default;
  /// Of the configured layouts the one that can type most of the letters a to z; the current one
  /// wins a tie. If none can type any, the US layout. Null if there is none.
  [[nodiscard]] virtual std::shared_ptr<const InputSource>
  TISCopyCurrentASCIICapableKeyboardLayoutInputSource() = 0;
  [[nodiscard]] virtual std::uint8_t LMGetKbdType() const = 0;
  /// `callback` runs when the current layout or the list of layouts has changed.
  virtual Subscription onChange(std::function<void()> callback) = 0;
};

}  // namespace tapeloop
