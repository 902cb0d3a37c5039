#pragma once

#include <optional>
#include <vector>

#include "platform/geometry.h"

namespace tapeloop {

struct Screen {
  Rect frame;
  friend bool operator==(const Screen&, const Screen&) = default;
};

/// The monitors as they are arranged now.
class Screens {
 public:
  virtual ~Screens() = default;
  /// The primary screen comes first; its frame has its origin at (0, 0). May be empty.
  [[nodiscard]] virtual std::vector<Screen> screens() const = 0;
  /// The screen that new windows of the program belong on.
  [[nodiscard]] virtual std::optional<Screen> mainScreen() const = 0;
  /// Where the pointer is, in points, upwards. Nothing if it is on none of these screens.
  [[nodiscard]] virtual std::optional<Point> mouseLocation() const = 0;
};

}  // namespace tapeloop
