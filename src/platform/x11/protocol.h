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

}  // namespace tapeloop::x11
