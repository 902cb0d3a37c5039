#include <gtest/gtest.h>

namespace tapeloop::support {
namespace {

/// Makes a failed ASSERT end the test as an exception, also in a function that the test has called.
/// GoogleTest would only return from that function, and the test would go on.
class Thrower : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult& result) override {
    if (result.fatally_failed()) throw testing::AssertionException(result);
  }
};

[[maybe_unused]] const bool isInstalled = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new Thrower);  // which GoogleTest deletes
  return true;
}();

}  // namespace
}  // namespace tapeloop::support
