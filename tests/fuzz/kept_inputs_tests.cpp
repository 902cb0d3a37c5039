#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

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

std::vector<std::string> inputsOf(const char* target) {
  std::vector<std::string> inputs;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::filesystem::path(TAPELOOP_FUZZ_CORPUS) / target)) {
    std::ifstream file(entry.path(), std::ios::binary);
    inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  EXPECT_FALSE(inputs.empty());
  return inputs;
}

class KeptInputs : public ::testing::TestWithParam<Target> {};

// Runs the inputs that fuzzers have found, without a fuzzer.
TEST_P(KeptInputs, KeepEveryPromise) {
  const auto [name, run] = GetParam();
  for (const std::string& input : inputsOf(name)) EXPECT_NO_THROW(run(input)) << input;
}

INSTANTIATE_TEST_SUITE_P(Of, KeptInputs,
                         ::testing::Values(Target{"recording", recording},
                                           Target{"recording_list", recordingList},
                                           Target{"loading", loading},
                                           Target{"shortcut", shortcut}),
                         [](const auto& of) { return std::string(of.param.name); });

TEST(RecordingListChanges, LeaveTheTextThatWouldBeWritten) {
  // Bytes that choose a change, and characters that JSON escapes, uses itself or can't represent.
  constexpr std::string_view alphabet = "\x01\x02\x03\x04\x05\"\\{}[],: ab\n\xff";
  constexpr int rounds = 50;
  constexpr int bytes = 200;
  std::mt19937 random(1);
  for (const std::string& list : inputsOf("recording_list")) {
    for (int round = 0; round < rounds; ++round) {
      std::string input = list + '\0';
      for (int i = 0; i < bytes; ++i) input += alphabet[random() % alphabet.size()];
      EXPECT_NO_THROW(recordingList(input)) << input;
    }
  }
}

}  // namespace
}  // namespace tapeloop::fuzz
