#pragma once

#include "platform/linux/malloc_ptr.h"

namespace tapeloop::x11 {

/// A reply, event or error of XCB. Null when the request failed or the connection is lost.
template <typename T>
using XcbPtr = linux::MallocPtr<T>;
using linux::own;

}  // namespace tapeloop::x11
