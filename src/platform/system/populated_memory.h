#pragma once

#include <memory_resource>

namespace tapeloop::system {

/// Memory whose pages are there from the start when a large piece is asked for, huge ones if there
/// are any: two calls of the system instead of a fault a page, which makes the difference where
/// faults are dear, as in a virtual machine. Small pieces come from the general allocator.
std::pmr::memory_resource& populatedMemory();

}  // namespace tapeloop::system
