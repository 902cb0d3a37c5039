#include "platform/system/populated_memory.h"

#include <cstddef>
#include <new>

#include <sys/mman.h>

namespace tapeloop::system {
namespace {

class PopulatedMemory final : public std::pmr::memory_resource {
  static constexpr std::size_t largeSize = std::size_t{64} << 10;

  void* do_allocate(std::size_t size, std::size_t alignment) override {
    if (size < largeSize) return std::pmr::new_delete_resource()->allocate(size, alignment);
    void* pages = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) throw std::bad_alloc();
    // Where the system has neither, the pages come one by one as always.
    ::madvise(pages, size, MADV_HUGEPAGE);
    ::madvise(pages, size, MADV_POPULATE_WRITE);
    return pages;
  }
  void do_deallocate(void* memory, std::size_t size, std::size_t alignment) override {
    if (size < largeSize) {
      std::pmr::new_delete_resource()->deallocate(memory, size, alignment);
    } else {
      ::munmap(memory, size);
    }
  }
  [[nodiscard]] bool do_is_equal(const memory_resource& other) const noexcept override {
    return this == &other;
  }
};

}  // namespace

std::pmr::memory_resource& populatedMemory() {
  static PopulatedMemory memory;
  return memory;
}

}  // namespace tapeloop::system
