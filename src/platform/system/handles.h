#pragma once

#include <cstdlib>
#include <memory>
#include <utility>

#include <unistd.h>

namespace tapeloop::system {

/// Owns an open descriptor, or none.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept
      : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~FileDescriptor() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }

  [[nodiscard]] int get() const { return descriptor_; }
  explicit operator bool() const { return descriptor_ >= 0; }

 private:
  int descriptor_ = -1;
};

struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }
};

/// Memory from a C library that the caller has to free.
template <typename T>
using MallocPtr = std::unique_ptr<T, FreeDeleter>;

template <typename T>
MallocPtr<T> own(T* memory) {
  return MallocPtr<T>(memory);
}

}  // namespace tapeloop::system
