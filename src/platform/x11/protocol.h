#pragma once

// <xcb/xkb.h> has a member called "explicit", which C++ reserves. Standard headers must not see the
// macro, so they come first.
#include <cstddef>
#include <cstdint>

#include <xcb/xcb.h>

#include "platform/system/handles.h"
#include "platform/system/run_loop.h"

#define explicit explicit_  // NOLINT(cppcoreguidelines-macro-usage)
#include <xcb/xkb.h>
#undef explicit

namespace tapeloop::x11 {

/// A reply, event or error of XCB. Null when the request failed or the connection is lost.
template <typename T>
using XcbPtr = system::MallocPtr<T>;
using system::monotonicNow;
using system::own;

/// The number of an event's kind, without the bit that marks events sent by clients.
constexpr std::uint8_t eventCode(const xcb_generic_event_t& event) {
  return event.response_type & 0x7f;
}
/// The event as the type that belongs to its kind.
template <typename T>
const T& as(const xcb_generic_event_t& event) {
  return reinterpret_cast<const T&>(event);
}

/// Compares server times or sequence numbers, which wrap.
constexpr bool isLater(std::uint32_t a, std::uint32_t b) {
  return static_cast<std::int32_t>(a - b) > 0;
}

}  // namespace tapeloop::x11
