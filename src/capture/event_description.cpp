#include "capture/event_description.h"

#include <algorithm>
#include <charconv>

namespace tapeloop {
namespace {

/// Appends to a buffer that is known to be long enough.
class Writer {
 public:
  Writer(char* begin, char* end) : next_(begin), end_(end) {}

  Writer& operator<<(std::string_view text) {
    next_ = std::copy(text.begin(), text.end(), next_);
    return *this;
  }
  Writer& operator<<(double number) {
    next_ = std::to_chars(next_, end_, number).ptr;
    return *this;
  }
  Writer& hexadecimal(std::uint64_t number) {
    next_ = std::to_chars(next_, end_, number, 16).ptr;
    return *this;
  }
  [[nodiscard]] char* position() const { return next_; }

 private:
  char* next_;
  char* end_;
};

}  // namespace

// The longest line has three numbers of 24 characters, flags of 16 and under 60 of wording.
EventDescription::EventDescription(const InputEvent& event) {
  Writer line(buffer_.data(), buffer_.data() + buffer_.size());
  line << "Optional(";
  line << kindOf(event.type)->name.substr(1) << " at (" << event.locationInWindow.x << ", "
       << event.locationInWindow.y << ") time " << event.timestamp << " flags 0x";
  line.hexadecimal(event.modifierFlags) << ")";
  length_ = static_cast<std::size_t>(line.position() - buffer_.data());
}

}  // namespace tapeloop
