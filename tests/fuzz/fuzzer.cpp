#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz/targets.h"

// Built once for each target, whose name the build defines.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tapeloop::fuzz::TAPELOOP_FUZZ_TARGET({reinterpret_cast<const char*>(data), size});
  return 0;
}
