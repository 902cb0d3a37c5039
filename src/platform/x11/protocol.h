#pragma once

// <xcb/xkb.h> has a member called "explicit", which C++ reserves. Standard headers must not see the
// macro, so they come first.
#include <cstddef>
#include <cstdint>
#include <ctime>

#include <xcb/xcb.h>

#include "platform/system/malloc_ptr.h"

#define explicit explicit_  // NOLINT(cppcoreguidelines-macro-usage)
#include <xcb/xkb.h>
#undef explicit

namespace tapeloop::x11 {

/// A reply, event or error of XCB. Null when the request failed or the connection is lost.
template <typename T>
using XcbPtr = system::MallocPtr<T>;
using system::own;

/// Nanoseconds. The server counts its milliseconds on the same clock.
inline std::int64_t monotonicNow() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

}  // namespace tapeloop::x11
