#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace tapeloop::fuzz {

/// Thrown when an input breaks an invariant. A fuzzer does not catch it, and so reports the input.
class BrokenPromise : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

inline void promise(bool kept, const char* what) {
  if (!kept) throw BrokenPromise(what);
}

// Each runs one input of any bytes. What the bytes mean is said in the source of the target.
void recording(std::string_view input);
void recordingList(std::string_view input);
void loading(std::string_view input);
void shortcut(std::string_view input);

}  // namespace tapeloop::fuzz
