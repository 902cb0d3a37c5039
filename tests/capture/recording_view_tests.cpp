#include <memory>

#include "capture/recording_view.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;

class RecordingViewTest : public SimulatedTest {
 protected:
  std::shared_ptr<RecordingView> view = std::make_shared<RecordingView>(desktop.runLoop);
  double opacity() { return view->circleOpacity().get(); }
};

TEST_F(RecordingViewTest, TheDotIsShownForASecondAndHiddenForASecond) {
  view->onAppear();
  for (int period = 0; period < 3; ++period) {
    EXPECT_EQ(opacity(), 1.0);
    advance(0.999);
    EXPECT_EQ(opacity(), 1.0);
    advance(0.001);
    EXPECT_EQ(opacity(), 0.0);
    advance(0.999);
    EXPECT_EQ(opacity(), 0.0);
    advance(0.001);
  }
}

TEST_F(RecordingViewTest, ADepartedViewHidesOnceMoreAndStopsBlinkingAndOneThatIsGoneIsNotTouched) {
  view->onAppear();
  view->onDisappear();
  advance(1);
  EXPECT_EQ(opacity(), 0.0);
  advance(10);
  EXPECT_EQ(opacity(), 0.0);
  EXPECT_EQ(desktop.runLoop.timers().size(), 0u);
  view->onAppear();
  view.reset();
  advance(10);
  EXPECT_EQ(desktop.runLoop.timers().size(), 0u);
}

TEST_F(RecordingViewTest, AppearingAgainRestartsTheBlinking) {
  view->onAppear();
  advance(0.5);
  view->onAppear();
  advance(2);
  EXPECT_EQ(opacity(), 1.0);
  advance(0.75);  // the first of two timers would have hidden the dot half a second early
  EXPECT_EQ(opacity(), 1.0);
}

}  // namespace
}  // namespace tapeloop
