#pragma once

#include <functional>
#include <memory>

#include "platform/keyboard_layout.h"
#include "platform/x11/keyboard_map.h"
#include "platform/x11/keyboard_state.h"

namespace tapeloop::x11 {

/// The groups of the server's keyboard map. Main thread only.
class X11KeyboardLayouts final : public KeyboardLayouts {
 public:
  /// What is handed in outlives this.
  X11KeyboardLayouts(KeyboardMap& keyboard, KeyboardState& state)
      : keyboard_(keyboard), state_(state) {}

  [[nodiscard]] std::shared_ptr<const InputSource>
  TISCopyCurrentASCIICapableKeyboardLayoutInputSource() override;
  [[nodiscard]] std::uint8_t LMGetKbdType() const override;
  Subscription onChange(std::function<void()> callback) override;

 private:
  KeyboardMap& keyboard_;
  KeyboardState& state_;
  std::shared_ptr<const InputSource> ansi_;  // made when it is first needed
};

}  // namespace tapeloop::x11
