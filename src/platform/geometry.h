#pragma once

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

}  // namespace tapeloop
