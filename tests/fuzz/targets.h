#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace tapeloop::fuzz {

/// What is thrown when an input shows that a promise is not kept. Nobody catches it in a fuzzer.
class BrokenPromise : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

inline void promise(bool kept, const char* what) {
  if (!kept) throw BrokenPromise(what);
}

// One input each. Any bytes will do; what they stand for says the source.
void recording(std::string_view input);
void recordingList(std::string_view input);
void loading(std::string_view input);
void shortcut(std::string_view input);

}  // namespace tapeloop::fuzz
