#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz/targets.h"

// One program for each target, which the build names.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tapeloop::fuzz::TAPELOOP_FUZZ_TARGET({reinterpret_cast<const char*>(data), size});
  return 0;
}
