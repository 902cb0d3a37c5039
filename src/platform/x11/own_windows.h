#pragma once

#include <cstdint>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/screens.h"
#include "platform/x11/connection.h"

namespace tapeloop::x11 {

/// Keeps a list of the program's own windows on the screen and of the frames that a window manager
/// puts around them, so that the server need not be asked about every event.
class OwnWindows {
 public:
  explicit OwnWindows(Connection& connection);
  OwnWindows(const OwnWindows&) = delete;
  OwnWindows& operator=(const OwnWindows&) = delete;

  /// The windows of this client are the program's own: those whose identifiers, without the bits of
  /// `mask`, are `base`. Both numbers are in a client's connection setup.
  void addClient(std::uint32_t base, std::uint32_t mask);

  /// Whether any window of the program is mapped.
  [[nodiscard]] bool anyOnScreen() const;
  /// Whether the topmost window that takes the pointer at this place of the root window is one of
  /// ours. Asks the server only if one of our frames is there.
  [[nodiscard]] bool isOnTopAt(int x, int y) const;
  /// Whether one of ours has the input focus, as of the event that is being handled: the server
  /// sends a change of the focus before any key event that came after it.
  [[nodiscard]] bool hasFocus() const { return !focused_.empty(); }

 private:
  struct Client {
    std::uint32_t base;
    std::uint32_t mask;
  };
  struct Frame {
    std::uint32_t client = 0;  // our window in it, or the window itself if it has no frame
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool mapped = false;

    // `geometry` is an event or a reply with a window's position, size and border.
    template <typename Geometry>
    void place(const Geometry& geometry) {
      x = geometry.x;
      y = geometry.y;
      width = geometry.width + 2 * geometry.border_width;
      height = geometry.height + 2 * geometry.border_width;
    }
  };

  void handle(const xcb_generic_event_t& event);
  void followFocus(const xcb_focus_in_event_t& event);
  [[nodiscard]] bool contains(std::uint32_t window) const;
  [[nodiscard]] Frame* find(std::uint32_t window);
  void adopt(std::uint32_t window);
  void adoptExisting();
  void watchFocus(std::uint32_t window);
  [[nodiscard]] std::uint32_t topLevelOf(std::uint32_t window) const;

  Connection& connection_;
  std::vector<Client> clients_;
  std::unordered_map<std::uint32_t, Frame> frames_;  // by child of the root window
  std::unordered_set<std::uint32_t>
      focused_;  // our windows that have the focus, or a child that has it
  Subscription events_;
};

}  // namespace tapeloop::x11
