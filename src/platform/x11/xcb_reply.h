#pragma once

#include <cstdlib>
#include <memory>

namespace tapeloop::x11 {

struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }
};

/// A reply, event or error of XCB. Null when the request failed or the connection is lost.
template <typename T>
using XcbPtr = std::unique_ptr<T, FreeDeleter>;

template <typename T>
XcbPtr<T> own(T* reply) {
  return XcbPtr<T>(reply);
}

}  // namespace tapeloop::x11
