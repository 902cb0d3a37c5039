#pragma once

#include <cstdint>
#include <deque>
#include <string_view>
#include <vector>

#include "platform/x11/connection.h"

namespace tapeloop::x11 {

inline constexpr std::string_view xtestKeyboardName = "Virtual core XTEST keyboard";
inline constexpr std::string_view xtestPointerName = "Virtual core XTEST pointer";

/// Posts through the XTEST extension, whose events come from a keyboard and a pointer of the
/// server's own, and knows what is held down on these.
///
/// The server keeps a key down that was pressed through XTEST when the client that pressed it is
/// gone. So while something is posted a property of the root window says so, and the next start of
/// the program releases what a killed run has left.
class XtestDevices {
 public:
  /// Cleans up after a run that was killed while it posted.
  explicit XtestDevices(Connection& connection);
  XtestDevices(const XtestDevices&) = delete;
  XtestDevices& operator=(const XtestDevices&) = delete;

  /// From here to `release` the server repeats no key that is held through XTEST: repeats are
  /// posted as they were recorded.
  void hold();
  /// Releases every key and button that was pressed here and not released, last pressed first.
  void release();

  void moveTo(std::int16_t x, std::int16_t y);
  void pressKey(std::uint8_t keycode);
  void releaseKey(std::uint8_t keycode);
  [[nodiscard]] bool isKeyDown(std::uint8_t keycode) const;
  void pressButton(std::uint8_t button);
  void releaseButton(std::uint8_t button);

  /// Whether a key event was caused by a key that this program posted. `sequence` is the number of
  /// the last request that the server had read by then: it handles a posted key at once, so that
  /// this is the number of the posting request. To be asked once about each raw key event, and each
  /// key event that a grab brought in its place, in order.
  [[nodiscard]] bool isPosted(std::uint32_t sequence, std::uint8_t keycode);

 private:
  struct Held {
    bool isKey;
    std::uint8_t code;
    friend bool operator==(const Held&, const Held&) = default;
  };
  struct Post {
    std::uint32_t sequence;
    std::uint8_t keycode;
  };

  void cleanUpAfterKilledRun();
  void releaseEverything(std::uint8_t device);
  [[nodiscard]] bool repeats() const;
  void setRepeats(bool on);
  [[nodiscard]] bool isKeyboardUsedLast() const;
  void fake(std::uint8_t type, std::uint8_t detail, std::int16_t x = 0, std::int16_t y = 0);

  Connection& connection_;
  std::uint8_t keyboard_ = 0;  // device numbers; 0: the server has none
  std::uint8_t pointer_ = 0;
  std::uint8_t master_ = 0;  // the core keyboard, to which all others are attached
  std::uint32_t mark_ = 0;   // the root window's property, an atom
  std::uint32_t owner_ = 0;  // a window that exists as long as this program is connected
  bool repeats_ = true;      // whether the server repeated keys held through XTEST before `hold`
  std::vector<Held> held_;   // in order of the presses
  std::deque<Post> posts_;   // keys whose raw events have not come yet
};

}  // namespace tapeloop::x11
