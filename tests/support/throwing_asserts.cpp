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

/// Behind the listener that prints failures, which --gtest_brief replaces when main has begun: an
/// exception keeps the listeners after it from hearing of the failure.
class Installer : public testing::Environment {
  void SetUp() override {
    testing::UnitTest::GetInstance()->listeners().Append(new Thrower);  // which GoogleTest deletes
  }
};

[[maybe_unused]] testing::Environment* const installer =
    testing::AddGlobalTestEnvironment(new Installer);  // which GoogleTest deletes

}  // namespace
}  // namespace tapeloop::support
