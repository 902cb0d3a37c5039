#pragma once

#include <bitset>
#include <cstdint>
#include <deque>
#include <string_view>
#include <vector>

#include <xcb/xinput.h>

#include "platform/x11/connection.h"

namespace tapeloop::x11 {

/// Tells the keys that this program posts from those of anyone else. Both may come from the
/// server's XTEST keyboard, but the server acts on a posted key while it handles the request: the
/// first event of that key with the number of that request is ours. Main thread only.
class PostedKeys {
 public:
  /// A key was posted with the request of this number.
  void posted(std::uint32_t sequence, std::uint8_t keycode);
  /// Whether it was a posted key that made the server send an event with this number. Asked once
  /// about each raw key event, and each key event that came through a grab in its place, in order.
  [[nodiscard]] bool isPosted(std::uint32_t sequence, std::uint8_t keycode);

 private:
  struct Post {
    std::uint32_t sequence;
    std::uint8_t keycode;
  };
  std::deque<Post> posts_;  // whose raw events have not come yet
};

inline constexpr std::string_view testKeyboardName = "Virtual core XTEST keyboard";
inline constexpr std::string_view testPointerName = "Virtual core XTEST pointer";

std::string_view deviceName(const xcb_input_xi_device_info_t& device);

/// The server's XTEST keyboard and pointer: what this program holds down on them, and the record of
/// it that outlives the program. A key that is held through XTEST stays down when the program that
/// pressed it is gone, so a property of the root window tells the next start to clean up. Main
/// thread only.
class TestDevices {
 public:
  /// Cleans up after a run that was killed while it posted.
  /// `posted` hears of every key and outlives this.
  TestDevices(Connection& connection, PostedKeys& posted);
  TestDevices(const TestDevices&) = delete;
  TestDevices& operator=(const TestDevices&) = delete;

  /// From here to `release` the server repeats no key that is held through XTEST: repeats are
  /// posted as they were recorded.
  void hold();
  /// Lets go of every key and button that was pressed here and not released, last pressed first.
  void release();

  void moveTo(std::int16_t x, std::int16_t y);
  void pressKey(std::uint8_t keycode);
  void releaseKey(std::uint8_t keycode);
  [[nodiscard]] bool isKeyDown(std::uint8_t keycode) const { return keysDown_[keycode]; }
  void pressButton(std::uint8_t button);
  void releaseButton(std::uint8_t button);

 private:
  struct Held {
    bool isKey;
    std::uint8_t code;
    friend bool operator==(const Held&, const Held&) = default;
  };

  void findDevices();
  void cleanUpAfterKilledRun();
  void releaseEverything(std::uint8_t device);
  /// Whether the server repeats keys that are held through XTEST.
  [[nodiscard]] bool repeats() const;
  void setRepeats(bool on);
  [[nodiscard]] bool isKeyboardUsedLast() const;
  void fake(std::uint8_t type, std::uint8_t detail, std::int16_t x = 0, std::int16_t y = 0);

  Connection& connection_;
  PostedKeys& posted_;
  std::uint8_t keyboard_ = 0;  // device number; 0: the server has none
  std::uint8_t pointer_ = 0;
  std::uint8_t master_ = 0;  // the keyboard that programs know
  std::uint32_t mark_ = 0;   // the root window's property, an atom
  std::uint32_t owner_ = 0;  // a window that shows that this program is alive
  bool repeats_ = true;      // what `repeats` said before `hold`
  std::bitset<256> keysDown_;
  std::vector<Held> held_;  // in order of the presses
};

}  // namespace tapeloop::x11
