#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "fuzz/targets.h"

namespace tapeloop::fuzz {
namespace {

struct Target {
  const char* name;
  void (*run)(std::string_view input);
};
void PrintTo(const Target& target, std::ostream* out) {
  *out << target.name;
}

class KeptInputs : public ::testing::TestWithParam<Target> {};

// What a fuzzer has found stays found, without the fuzzer.
TEST_P(KeptInputs, KeepEveryPromise) {
  const auto [name, run] = GetParam();
  int inputs = 0;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::filesystem::path(TAPELOOP_FUZZ_CORPUS) / name)) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string input(std::istreambuf_iterator<char>(file), {});
    EXPECT_NO_THROW(run(input)) << entry.path();
    ++inputs;
  }
  EXPECT_GT(inputs, 0);
}

INSTANTIATE_TEST_SUITE_P(Of, KeptInputs,
                         ::testing::Values(Target{"recording", recording},
                                           Target{"recording_list", recordingList},
                                           Target{"loading", loading},
                                           Target{"shortcut", shortcut}),
                         [](const auto& of) { return std::string(of.param.name); });

}  // namespace
}  // namespace tapeloop::fuzz
