#pragma once

#include <cstdint>
#include <deque>

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

}  // namespace tapeloop::x11
