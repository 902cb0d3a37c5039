#include "platform/x11/posted_keys.h"

namespace tapeloop::x11 {
namespace {

// Not every post is followed by a raw event; of old ones there is no use.
constexpr std::size_t mostPosts = 4096;

}  // namespace

void PostedKeys::posted(std::uint32_t sequence, std::uint8_t keycode) {
  if (posts_.size() == mostPosts) posts_.pop_front();
  posts_.push_back({sequence, keycode});
}

bool PostedKeys::isPosted(std::uint32_t sequence, std::uint8_t keycode) {
  while (!posts_.empty()) {
    const Post post = posts_.front();
    if (static_cast<std::int32_t>(post.sequence - sequence) > 0) return false;
    if (post.sequence == sequence && post.keycode != keycode) return false;
    posts_.pop_front();
    if (post.sequence == sequence) return true;
  }
  return false;
}

}  // namespace tapeloop::x11
