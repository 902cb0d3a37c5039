// Signals, timers, and the simulated input monitor.
#include <algorithm>
#include <memory>
#include <vector>

#include "platform/timer_queue.h"
#include "support/input_monitor_contract.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::ElementsAre;

TEST(SignalTest, CallbacksMayConnectAndDisconnectOthers) {
  Signal<> signal;
  std::vector<int> calls;
  Subscription second;
  Subscription third;
  const Subscription first = signal.connect([&] {
    calls.push_back(1);
    second.reset();
    third = signal.connect([&] { calls.push_back(3); });
  });
  second = signal.connect([&] { calls.push_back(2); });
  signal();
  EXPECT_THAT(calls, ElementsAre(1)) << "gone ones are skipped, new ones wait";
  signal();
  EXPECT_THAT(calls, ElementsAre(1, 1));
}

TEST(SignalTest, ASubscriptionMayOutliveItsSignal) {
  auto signal = std::make_unique<Signal<>>();
  Subscription subscription = signal->connect([] {});
  Subscription moved = std::move(subscription);
  signal.reset();
  moved.reset();
}

TEST(ObservableTest, SubscribersAreCalledOnChangesOnly) {
  State<int> state(1);
  std::vector<int> seen;
  const Subscription subscription = state.subscribe([&] {
    seen.push_back(state.get());
    if (state.get() > 3) state.set(3);
  });
  state.set(1);
  state.set(2);
  state.set(9);
  EXPECT_THAT(seen, ElementsAre(2, 9, 3));
  EXPECT_EQ(state.get(), 3);
}

using ScriptedInputMonitorTest = SimulatedTest;

TEST_F(ScriptedInputMonitorTest, HandlersMayAddAndRemoveMonitors) {
  support::expectHandlersMayAddAndRemoveMonitors(desktop.inputMonitor, [&] { deliver(move(1)); });
}

// Otherwise a run that follows the last one would post its first event before that has ended it.
TEST(TimerQueue, TimersOfALateTickKeepTheirPlaceAmongTicks) {
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

TEST(TimerQueue, ARepeatingTimerHasAShortestInterval) {
  TimerQueue queue;
  queue.schedule(0, 0, TimerRepeats::yes, [](const TimerRef&) {});
  EXPECT_EQ(queue.nextDeadline(), 100'000);
}

TEST(TimerQueue, InvalidatedTimersDoNotPileUp) {
  TimerQueue queue;
  queue.schedule(0, 1, TimerRepeats::no, [](const TimerRef&) {});  // stays in front of the others
  for (int i = 0; i < 10'000; ++i) {
    queue.schedule(0, 2, TimerRepeats::no, [](const TimerRef&) {})->invalidate();
  }
  EXPECT_LT(queue.size(), 100u);
}

TEST(TimerQueue, KeepsTheOrderWhenItRemovesInvalidTimers) {
  TimerQueue queue;
  std::vector<int> fired;
  const auto add = [&](int deadline) {
    return queue.schedule(0, deadline, TimerRepeats::no,
                          [&fired, deadline](const TimerRef&) { fired.push_back(deadline); });
  };
  for (int i = 0; i < 2000; ++i) {
    const TimerRef timer = add(1 + i * 7919 % 2003);
    if (i % 3 == 0) timer->invalidate();
  }
  queue.beginPass();
  while (queue.fireNext(std::int64_t{3000} * 1'000'000'000)) {
  }
  EXPECT_GT(fired.size(), 1000u);
  EXPECT_TRUE(std::ranges::is_sorted(fired));
}

}  // namespace
}  // namespace tapeloop
