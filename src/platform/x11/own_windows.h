#pragma once

#include <cstdint>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/screens.h"
#include "platform/x11/connection.h"

namespace tapeloop::x11 {

/// Knows which windows on the screen are the program's own, the frames that a window manager puts
/// around them included, without asking the server about every event. Main thread only.
class OwnWindows {
 public:
  explicit OwnWindows(Connection& connection);
  OwnWindows(const OwnWindows&) = delete;
  OwnWindows& operator=(const OwnWindows&) = delete;

  /// Windows whose identifier, apart from the bits of `mask`, is `base` are the program's: these
  /// two numbers come with every client's connection setup.
  void addClient(std::uint32_t base, std::uint32_t mask);

  /// False while no window of the program is on the screen: nothing can be aimed at one then.
  [[nodiscard]] bool anyOnScreen() const;
  [[nodiscard]] bool contains(std::uint32_t window) const;
  /// Whether the topmost window that takes the pointer at this place of the root window is one of
  /// ours. Asks the server only if one of our frames is there.
  [[nodiscard]] bool isOnTopAt(int x, int y) const;
  /// Whether one of ours has the keyboard, as of the event that is being handled: the server tells
  /// of a change before it tells of any key that came after it.
  [[nodiscard]] bool hasKeyboard() const { return !focused_.empty(); }

 private:
  struct Client {
    std::uint32_t base;
    std::uint32_t mask;
  };
  struct Frame {
    std::uint32_t client = 0;  // our window in it; the frame itself when there is no other
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool mapped = false;
  };

  void handle(const xcb_generic_event_t& event);
  void adopt(std::uint32_t window);
  void adoptExisting();
  void watchFocus(std::uint32_t window);
  [[nodiscard]] std::uint32_t topLevelOf(std::uint32_t window) const;

  Connection& connection_;
  std::vector<Client> clients_;
  std::unordered_map<std::uint32_t, Frame> frames_;  // by identifier of the child of the root
  std::unordered_set<std::uint32_t> focused_;        // our windows that have the focus in them
  Subscription events_;
};

}  // namespace tapeloop::x11
