#pragma once

#include <cstdlib>
#include <memory>

namespace tapeloop::system {

struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }
};

/// What a C library hands out for the caller to free.
template <typename T>
using MallocPtr = std::unique_ptr<T, FreeDeleter>;

template <typename T>
MallocPtr<T> own(T* memory) {
  return MallocPtr<T>(memory);
}

}  // namespace tapeloop::system
