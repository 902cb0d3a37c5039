#include <memory>

#include "controller/recording_library.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

class ToastTest : public testing::SimulatedTest {
 protected:
  State<bool> shown{false};
  std::unique_ptr<Toast> toast = std::make_unique<Toast>(shown, desktop.runLoop);
};

TEST_F(ToastTest, GoesWhenItIsTappedOrInvertedAgainAndEveryTimeAfterItsOwnTime) {
  toast->invert();
  advance(1);
  toast->invert();
  EXPECT_FALSE(shown.get());
  toast->invert();
  toast->tap();
  EXPECT_FALSE(shown.get());
  toast->invert();
  advance(1.19);
  EXPECT_TRUE(shown.get()) << "the end of an earlier showing must not end this one";
  advance(0.02);
  EXPECT_FALSE(shown.get());
}

TEST_F(ToastTest, ThatGoesWithItsWindowLeavesNothingBehind) {
  toast->invert();
  toast.reset();
  advance(2);
  EXPECT_TRUE(shown.get());
}

}  // namespace
}  // namespace tapeloop
