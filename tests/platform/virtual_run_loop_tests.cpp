#include <vector>

#include "support/input_monitor_contract.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::ElementsAre;

class VirtualRunLoopTest : public SimulatedTest {
 protected:
  // Notes the virtual time at which it fires.
  TimerRef schedule(double interval, TimerRepeats repeats = TimerRepeats::no) {
    return desktop.runLoop.scheduledTimerWithTimeInterval(
        interval, repeats, [this](const TimerRef&) { fired.push_back(desktop.runLoop.now()); });
  }
  std::vector<double> fired;
};

TEST_F(VirtualRunLoopTest, TheClockStopsAtEveryDeadlineOnTheWay) {
  schedule(2);
  schedule(0.5, TimerRepeats::yes);
  advance(1.75);
  EXPECT_THAT(fired, ElementsAre(0.5, 1.0, 1.5));
  advance(0.25);
  EXPECT_THAT(fired, ElementsAre(0.5, 1.0, 1.5, 2.0, 2.0));
  EXPECT_EQ(desktop.runLoop.now(), 2.0);
}

TEST_F(VirtualRunLoopTest, ATimerThatIsScheduledByATimerCountsFromItsDeadline) {
  desktop.runLoop.dispatchAfter(1, [&] {
    schedule(0);
    schedule(0.25);
  });
  advance(10);
  EXPECT_THAT(fired, ElementsAre(1.0, 1.25));
  EXPECT_EQ(desktop.runLoop.date(), 10.0);
}

using ScriptedInputMonitorTest = SimulatedTest;

TEST_F(ScriptedInputMonitorTest, HandlersMayAddAndRemoveMonitors) {
  support::expectHandlersMayAddAndRemoveMonitors(desktop.inputMonitor, [&] { deliver(move(1)); });
}

// Otherwise a run that follows the last one would post its first event before that has ended it.
TEST(TimerQueue, WhatALateTickSchedulesKeepsItsPlaceAmongTheTicksUnlessItIsVeryLate) {
  const auto firedAt = [](const std::vector<std::int64_t>& times) {
    TimerQueue queue;
    std::vector<std::string> fired;
    std::int64_t now = 0;
    queue.schedule(now, 10, TimerRepeats::yes, [&](const TimerRef&) {
      fired.emplace_back("tick");
      queue.schedule(now, 10, TimerRepeats::no,
                     [&](const TimerRef&) { fired.emplace_back("end"); });
    });
    for (const std::int64_t milliseconds : times) {
      now = milliseconds * 1'000'000;
      queue.beginPass();
      while (queue.fireNext(now)) {
      }
    }
    return fired;
  };
  EXPECT_THAT(firedAt({10'003, 20'000}), ElementsAre("tick", "tick", "end"));
  EXPECT_THAT(firedAt({20'003, 30'000}), ElementsAre("tick", "tick", "end"));
  EXPECT_THAT(firedAt({12'000, 21'999}), ElementsAre("tick", "tick"));
}

TEST(TimerQueue, ARepeatingTimerLetsOthersInHoweverShortItsInterval) {
  TimerQueue queue;
  queue.schedule(0, 0, TimerRepeats::yes, [](const TimerRef&) {});
  EXPECT_EQ(queue.nextDeadline(), 100'000);
}

TEST(TimerQueue, TimersThatWereInvalidatedDoNotPileUp) {
  TimerQueue queue;
  queue.schedule(0, 1, TimerRepeats::no, [](const TimerRef&) {});  // stays in front of the others
  for (int i = 0; i < 10'000; ++i) {
    queue.schedule(0, 2, TimerRepeats::no, [](const TimerRef&) {})->invalidate();
  }
  EXPECT_LT(queue.size(), 100u);
}

}  // namespace
}  // namespace tapeloop
