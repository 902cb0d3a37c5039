// What every run loop promises, the virtual one like the real one.
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/run_loop.h"
#include "system/epoll_harness.h"

namespace tapeloop {
namespace {

struct VirtualHarness {
  RunLoop& loop() { return virtualLoop; }
  bool turnUntil(const std::function<bool()>& done) {
    for (int turn = 0; turn < 1000 && !done(); ++turn) virtualLoop.advance(0.001);
    return done();
  }
  simulated::VirtualRunLoop virtualLoop;
};

template <typename Harness>
class RunLoopContract : public testing::Test {
 protected:
  TimerRef schedule(double interval, TimerBlock block, TimerRepeats repeats = TimerRepeats::no) {
    return harness_.loop().scheduledTimerWithTimeInterval(interval, repeats, std::move(block));
  }
  TimerBlock note(const std::string& name) {
    return [this, name](const TimerRef&) { fired_.push_back(name); };
  }
  void turnUntilFired(std::size_t count) {
    ASSERT_TRUE(harness_.turnUntil([&] { return fired_.size() >= count; }));
  }

  Harness harness_;
  std::vector<std::string> fired_;
};

using Harnesses = testing::Types<system::EpollHarness, VirtualHarness>;
TYPED_TEST_SUITE(RunLoopContract, Harnesses);

TYPED_TEST(RunLoopContract, FiresInOrderOfDeadlinesAndThenOfCreation) {
  this->schedule(0.003, this->note("late"));
  this->schedule(0.002, this->note("first"));
  this->schedule(0.002, this->note("second"));
  this->schedule(-1, this->note("negative"));
  this->schedule(std::numeric_limits<double>::quiet_NaN(), this->note("not a number"));
  this->schedule(0, this->note("none"));
  EXPECT_TRUE(this->fired_.empty());
  this->turnUntilFired(6);
  EXPECT_THAT(this->fired_,
              testing::ElementsAre("negative", "not a number", "none", "first", "second", "late"));
}

TYPED_TEST(RunLoopContract, DoesNotFireWhatWasInvalidatedEvenByATimerOfTheSameInstant) {
  TimerRef victim;
  this->schedule(0.001, [&](const TimerRef&) { victim->invalidate(); });
  victim = this->schedule(0.001, this->note("victim"));
  this->schedule(0.001, this->note("end"));
  this->turnUntilFired(1);
  EXPECT_THAT(this->fired_, testing::ElementsAre("end"));
  EXPECT_FALSE(victim->isValid());
}

TYPED_TEST(RunLoopContract, RepeatsUntilTheBlockInvalidatesItsTimer) {
  int left = 3;
  const TimerRef repeating = this->schedule(
      0.001,
      [&](const TimerRef& self) {
        this->fired_.push_back("tick");
        if (--left == 0) self->invalidate();
      },
      TimerRepeats::yes);
  this->turnUntilFired(3);
  EXPECT_FALSE(repeating->isValid());
  this->schedule(0.01, this->note("end"));
  this->turnUntilFired(4);
  EXPECT_EQ(this->fired_.back(), "end");
}

TYPED_TEST(RunLoopContract, KeepsATimerThatNobodyHoldsAndLetsGoOfItsBlockOnceSpent) {
  auto owned = std::make_shared<int>(1);
  std::weak_ptr<int> watched = owned;
  this->schedule(0.001, [this, owned = std::move(owned)](const TimerRef&) {
    this->fired_.push_back("fired");
  });
  EXPECT_FALSE(watched.expired());
  this->turnUntilFired(1);
  EXPECT_TRUE(watched.expired());
}

TYPED_TEST(RunLoopContract, LetsOthersInBetweenTimersThatScheduleThemselvesWithoutDelay) {
  std::function<void()> again = [&] { this->harness_.loop().dispatchAfter(0, again); };
  again();
  this->schedule(0.002, this->note("other"));
  this->turnUntilFired(1);
}

}  // namespace
}  // namespace tapeloop
