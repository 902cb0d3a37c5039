#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tapeloop::x11 {

/// How close two presses have to be to count as a double click.
struct DoubleClick {
  double seconds = 0.4;
  double pixels = 5;  ///< Along each axis.
};

/// Works out which click in a row a button press is: 1, 2, 3 and on.
class ClickCounter {
 public:
  explicit ClickCounter(DoubleClick limits) : limits_(limits) {}

  /// Seconds and root pixels. A press of another button ends the row.
  int press(std::uint8_t button, double timestamp, int x, int y);
  /// The count of the press that a release of `button` belongs to.
  [[nodiscard]] int release(std::uint8_t button) const;

 private:
  static constexpr std::size_t buttons = 4;  // 1 to 3 are counted

  DoubleClick limits_;
  std::uint8_t latest_ = 0;  // button of the latest press; 0: none yet
  double timestamp_ = 0;
  int x_ = 0;
  int y_ = 0;
  std::array<int, buttons> counts_{1, 1, 1, 1};  // by button, of its latest press
};

}  // namespace tapeloop::x11
