#include <memory>
#include <vector>

#include <gmock/gmock.h>

#include "platform/observable.h"

namespace tapeloop {
namespace {

using ::testing::ElementsAre;

TEST(SignalTest, CallbacksMayConnectAndDisconnectEachOtherWhileTheyRun) {
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

TEST(ObservableTest, SubscribersHearOfChangesOnlyAndMaySetTheValueAgain) {
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

}  // namespace
}  // namespace tapeloop
