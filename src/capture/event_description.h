#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "platform/input_event.h"

namespace tapeloop {

/// The line that the trace holds for a captured event, which is of a kind that recordings hold: its
/// type, location, time and flags inside "Optional(...)". Written for every pointer move, so it is
/// put together without an allocation.
class EventDescription {
 public:
  explicit EventDescription(const InputEvent& event);
  explicit operator std::string_view() const { return {buffer_.data(), length_}; }

 private:
  std::array<char, 192> buffer_;
  std::size_t length_ = 0;
};

}  // namespace tapeloop
