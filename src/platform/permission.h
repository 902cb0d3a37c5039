#pragma once

namespace tapeloop {

/// Whether this program may observe and post input anywhere on the desktop.
class Permission {
 public:
  virtual ~Permission() = default;
  /// Answers as things are now, and shows nothing.
  [[nodiscard]] virtual bool AXIsProcessTrusted() const = 0;
};

}  // namespace tapeloop
