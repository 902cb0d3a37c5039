#include "platform/x11/click_counter.h"

#include <cstdlib>

namespace tapeloop::x11 {

int ClickCounter::press(std::uint8_t button, double timestamp, int x, int y) {
  if (button >= buttons) {
    latest_ = button;
    return 1;
  }
  const bool inRow = button == latest_ && timestamp - timestamp_ <= limits_.seconds &&
                     std::abs(x - x_) <= limits_.pixels && std::abs(y - y_) <= limits_.pixels;
  counts_[button] = inRow ? counts_[button] + 1 : 1;
  latest_ = button;
  timestamp_ = timestamp;
  x_ = x;
  y_ = y;
  return counts_[button];
}

int ClickCounter::release(std::uint8_t button) const {
  return button < buttons ? counts_[button] : 1;
}

}  // namespace tapeloop::x11
