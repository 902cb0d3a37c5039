#pragma once

#include <optional>
#include <vector>

namespace tapeloop {

/// In points. On screen the origin is the primary monitor's bottom-left corner and y grows upwards,
/// unless a declaration says otherwise.
struct Point {
  double x = 0;
  double y = 0;
  friend bool operator==(const Point&, const Point&) = default;
};

struct Size {
  double width = 0;
  double height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};

struct Rect {
  Point origin;
  Size size;
  friend bool operator==(const Rect&, const Rect&) = default;
};

struct Screen {
  Rect frame;
  friend bool operator==(const Screen&, const Screen&) = default;
};

/// The monitors in their current arrangement.
class Screens {
 public:
  virtual ~Screens() = default;
  /// The primary screen comes first; its frame has its origin at (0, 0). May be empty.
  [[nodiscard]] virtual std::vector<Screen> screens() const = 0;
  /// The screen on which new windows of the program appear.
  [[nodiscard]] virtual std::optional<Screen> mainScreen() const = 0;
  /// The position of the pointer. Nothing if it is on none of these screens.
  [[nodiscard]] virtual std::optional<Point> mouseLocation() const = 0;
};

}  // namespace tapeloop
