#pragma once

#include <cstdint>
#include <deque>

#include "platform/x11/raw_input.h"

namespace tapeloop::x11 {

/// Tells the keys that this program posts from those of anyone else. Both may come from the
/// server's XTEST keyboard, but the server acts on a posted key while it handles the request: the
/// first raw event of that key with the number of that request is ours. Main thread only.
class PostedKeys {
 public:
  /// A key was posted with the request of this number.
  void posted(std::uint32_t sequence, std::uint8_t keycode);
  /// Asked once about each raw key event, in order.
  [[nodiscard]] bool isPosted(const RawEvent& event);

 private:
  struct Post {
    std::uint32_t sequence;
    std::uint8_t keycode;
  };
  std::deque<Post> posts_;  // whose raw events have not come yet
};

}  // namespace tapeloop::x11
