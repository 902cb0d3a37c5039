#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

#include "platform/x11/keyboard_map.h"

namespace tapeloop::x11 {

/// Makes time stamps of the server's 32-bit milliseconds: seconds that neither wrap nor go back.
/// The part below the millisecond is the time at which the raw event of the same input arrived.
class ServerTime {
 public:
  /// A raw event with this server time arrived. `arrival` is in monotonic nanoseconds.
  void announce(std::uint32_t milliseconds, std::int64_t arrival);
  /// The time stamp of the event with this server time. Its own `arrival` counts when it had no raw
  /// event.
  double timestamp(std::uint32_t milliseconds, std::int64_t arrival);

 private:
  struct Announcement {
    std::uint32_t milliseconds;
    std::int64_t arrival;
  };

  std::deque<Announcement> announced_;     // whose events have not come yet
  std::optional<std::int64_t> unwrapped_;  // milliseconds of the previous event
  std::int64_t latest_ = 0;                // nanoseconds of the latest time stamp
};

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

/// Finds the virtual key code to record for a key: the one that, when it is posted, does again what
/// the key did. A release gets the code of its press.
class RecordedKeys {
 public:
  explicit RecordedKeys(const KeyboardMap& keyboard) : keyboard_(keyboard) {}

  /// `state` is that of the event. Nothing for a key that only changed modifiers.
  [[nodiscard]] std::optional<std::uint16_t> press(std::uint8_t keycode, std::uint16_t state);
  [[nodiscard]] std::optional<std::uint16_t> release(std::uint8_t keycode, std::uint16_t state);
  /// Forgets the presses.
  void clear() { down_.fill(std::nullopt); }

 private:
  [[nodiscard]] std::optional<std::uint16_t> virtualKey(std::uint8_t keycode,
                                                        std::uint16_t state) const;

  const KeyboardMap& keyboard_;
  std::array<std::optional<std::uint16_t>, 256> down_{};  // by keycode
};

}  // namespace tapeloop::x11
