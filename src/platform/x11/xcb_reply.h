#pragma once

#include "platform/system/handles.h"

namespace tapeloop::x11 {

/// A reply, event or error of XCB. Null when the request failed or the connection is lost.
template <typename T>
using XcbPtr = system::MallocPtr<T>;
using system::own;

}  // namespace tapeloop::x11
