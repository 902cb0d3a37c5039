#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include "platform/simulated/run_loop.h"
#include "platform/system/run_loop.h"
#include "platform/system/signals.h"

namespace tapeloop::system {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A run loop that is turned by its descriptor.
struct EpollHarness {
  RunLoop& loop() { return epollLoop; }
  /// False if that takes far too long.
  bool turnUntil(const std::function<bool()>& done) {
    using namespace std::chrono_literals;
    const auto limit = std::chrono::steady_clock::now() + 20s;
    epollLoop.endTurn();
    while (!done()) {
      if (std::chrono::steady_clock::now() > limit) return false;
      pollfd request{epollLoop.fileDescriptor(), POLLIN, 0};
      ::poll(&request, 1, 1000);
      epollLoop.dispatch();
    }
    return true;
  }
  EpollRunLoop epollLoop;
};

struct VirtualHarness {
  RunLoop& loop() { return virtualLoop; }
  bool turnUntil(const std::function<bool()>& done) {
    for (int turn = 0; turn < 1000 && !done(); ++turn) virtualLoop.advance(0.001);
    return done();
  }
  simulated::VirtualRunLoop virtualLoop;
};

// What every run loop promises, the simulated one like the real one.
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

using Harnesses = testing::Types<EpollHarness, VirtualHarness>;
TYPED_TEST_SUITE(RunLoopContract, Harnesses);

TYPED_TEST(RunLoopContract, FiresInOrderOfDeadlinesAndOfCreation) {
  this->schedule(0.003, this->note("late"));
  this->schedule(0.002, this->note("first"));
  this->schedule(0.002, this->note("second"));
  this->schedule(-1, this->note("negative"));
  this->schedule(std::numeric_limits<double>::quiet_NaN(), this->note("not a number"));
  this->schedule(0, this->note("none"));
  EXPECT_TRUE(this->fired_.empty());
  this->turnUntilFired(6);
  EXPECT_THAT(this->fired_,
              ElementsAre("negative", "not a number", "none", "first", "second", "late"));
}

TYPED_TEST(RunLoopContract, DoesNotFireWhatWasInvalidated) {
  TimerRef victim;
  this->schedule(0.001, [&](const TimerRef&) { victim->invalidate(); });
  victim = this->schedule(0.001, this->note("victim"));
  this->schedule(0.001, this->note("end"));
  this->turnUntilFired(1);
  EXPECT_THAT(this->fired_, ElementsAre("end"));
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

TYPED_TEST(RunLoopContract, KeepsATimerAndDestroysItsBlockOnceFired) {
  auto owned = std::make_shared<int>(1);
  std::weak_ptr<int> watched = owned;
  this->schedule(0.001, [this, owned = std::move(owned)](const TimerRef&) {
    this->fired_.push_back("fired");
  });
  EXPECT_FALSE(watched.expired());
  this->turnUntilFired(1);
  EXPECT_TRUE(watched.expired());
}

TYPED_TEST(RunLoopContract, TimersWithoutDelayLetOthersFire) {
  std::function<void()> again = [&] { this->harness_.loop().dispatchAfter(0, again); };
  again();
  this->schedule(0.002, this->note("other"));
  this->turnUntilFired(1);
}

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) ADD_FAILURE() << "no pipe";
    readEnd = FileDescriptor(ends[0]);
    writeEnd = FileDescriptor(ends[1]);
  }
  void fill() const { EXPECT_EQ(::write(writeEnd.get(), "x", 1), 1); }
  FileDescriptor readEnd;
  FileDescriptor writeEnd;
};

bool isReady(const EpollRunLoop& loop) {
  pollfd request{loop.fileDescriptor(), POLLIN, 0};
  return ::poll(&request, 1, 0) == 1;
}

class EpollRunLoopTest : public testing::Test, protected EpollHarness {
 protected:
  TimerRef schedule(double interval, TimerBlock block) {
    return epollLoop.scheduledTimerWithTimeInterval(interval, TimerRepeats::no, std::move(block));
  }
  /// The calls of one turn.
  std::vector<std::string> turn() {
    calls_.clear();
    epollLoop.dispatch();
    return calls_;
  }
  std::vector<std::string> calls_;
};

TEST_F(EpollRunLoopTest, HoldsItsTimeUntilTheTurnEnds) {
  const auto waitUntilAfter = [](std::int64_t time) {
    while (std::chrono::steady_clock::now().time_since_epoch() <= std::chrono::nanoseconds(time)) {
    }
  };
  const std::int64_t first = epollLoop.sample();
  waitUntilAfter(first);
  EXPECT_EQ(epollLoop.sample(), first);
  epollLoop.takeTime();
  const std::int64_t second = epollLoop.sample();
  EXPECT_GT(second, first);
  waitUntilAfter(second);
  EXPECT_EQ(epollLoop.sample(), second);
  epollLoop.endTurn();
  EXPECT_GT(epollLoop.sample(), second);
}

TEST_F(EpollRunLoopTest, FiresNoTimerEarlyAndKeepsTheDistances) {
  constexpr int count = 2000;
  const std::int64_t start = epollLoop.sample();
  std::vector<std::int64_t> late;
  for (int i = 0; i < count; ++i) {
    schedule(i * 1e-5, [&, i](const TimerRef&) {
      late.push_back(epollLoop.sample() - start - i * std::int64_t{10'000});
    });
  }
  ASSERT_TRUE(turnUntil([&] { return late.size() == count; }));
  EXPECT_THAT(late, testing::Each(testing::Ge(0)));
}

TEST_F(EpollRunLoopTest, EndsATurnWithTooManyTimersAndGoesOn) {
  constexpr int count = 100'000;
  std::vector<int> order;
  for (int i = 0; i < count; ++i) {
    schedule(0, [&order, i](const TimerRef&) {
      order.push_back(i);
      timespec now{};
      for (int k = 0; k < 20; ++k) clock_gettime(CLOCK_MONOTONIC, &now);
    });
  }
  epollLoop.endTurn();
  int turns = 0;
  for (; isReady(epollLoop); ++turns) epollLoop.dispatch();
  EXPECT_GT(turns, 2);
  EXPECT_EQ(order.size(), count);
  EXPECT_TRUE(std::ranges::is_sorted(order));
}

TEST_F(EpollRunLoopTest, ServesDescriptorsFirstAndOnce) {
  Pipe flood;
  flood.fill();
  const Watch watch = epollLoop.watch(flood.readEnd.get(), [&] { calls_.push_back("input"); });
  schedule(0, [&](const TimerRef&) { calls_.push_back("timer"); });
  EXPECT_THAT(turn(), ElementsAre("input", "timer"));
}

TEST_F(EpollRunLoopTest, CallsNoWatchThatWasRemovedInTheSameTurn) {
  std::array<Pipe, 2> pipes;
  std::array<Watch, 2> watches;
  for (const std::size_t i : {0U, 1U}) {
    pipes[i].fill();
    watches[i] = epollLoop.watch(pipes[i].readEnd.get(), [&, i] {
      calls_.push_back("one of them");
      watches = {};
      // The new one takes the number of the descriptor that was ready.
      Pipe& other = pipes[1 - i];
      const int number = other.readEnd.get();
      other.readEnd = FileDescriptor();
      other = Pipe();
      EXPECT_EQ(other.readEnd.get(), number);
      watches[1 - i] = epollLoop.watch(number, [&] { calls_.push_back("stale"); });
    });
  }
  EXPECT_THAT(turn(), ElementsAre("one of them"));
  EXPECT_THAT(turn(), IsEmpty());
}

TEST_F(EpollRunLoopTest, SeveralWatchesMayShareADescriptor) {
  Pipe pipe;
  Watch first = epollLoop.watch(pipe.readEnd.get(), [&] { calls_.push_back("first"); });
  const Watch second = epollLoop.watch(pipe.readEnd.get(), [&] { calls_.push_back("second"); });
  Watch room = epollLoop.watch(
      pipe.writeEnd.get(), [&] { calls_.push_back("room"); }, Readiness::writable);
  EXPECT_THAT(turn(), ElementsAre("room"));
  room.reset();
  pipe.writeEnd = FileDescriptor();
  EXPECT_THAT(turn(), ElementsAre("first", "second"));
  first.reset();
  EXPECT_THAT(turn(), ElementsAre("second"));
}

TEST_F(EpollRunLoopTest, ArmsForATimerOfAHookAndRunsHooksAgain) {
  bool drained = false;
  // Connected first, so that what the second one writes has to wait for another round.
  const Subscription flushing = epollLoop.addBeforeWait([&] {
    if (calls_ == std::vector<std::string>{"written"}) calls_.push_back("flushed");
    return false;
  });
  const Subscription draining = epollLoop.addBeforeWait([&] {
    if (std::exchange(drained, true)) return false;
    calls_.push_back("written");
    schedule(0, [&](const TimerRef&) { epollLoop.quit(7); });
    return true;
  });
  EXPECT_EQ(epollLoop.run(), 7);
  EXPECT_THAT(calls_, ElementsAre("written", "flushed"));
}

TEST_F(EpollRunLoopTest, DoesNotWaitWhileAHookWantsToRunAgain) {
  int rounds = 0;
  const Subscription hook = epollLoop.addBeforeWait([&] { return ++rounds < 1000; });
  epollLoop.endTurn();
  EXPECT_TRUE(isReady(epollLoop));
  ASSERT_TRUE(turnUntil([&] { return rounds >= 1000; }));
  EXPECT_FALSE(isReady(epollLoop));
}

TEST_F(EpollRunLoopTest, CanBeTurnedFromWithinATurn) {
  schedule(0, [&](const TimerRef&) {
    calls_.push_back("outer");
    epollLoop.dispatch();
    calls_.push_back("end of outer");
  });
  schedule(0, [&](const TimerRef&) { calls_.push_back("inner"); });
  EXPECT_THAT(turn(), ElementsAre("outer", "inner", "end of outer"));
}

TEST_F(EpollRunLoopTest, IsSurvivedByWatchesAndHooks) {
  Pipe pipe;
  Watch watch;
  Subscription hook;
  {
    EpollRunLoop other;
    watch = other.watch(pipe.readEnd.get(), [] {});
    hook = other.addBeforeWait([] { return false; });
  }
  watch.reset();
  hook.reset();
}

TEST_F(EpollRunLoopTest, ReportsSignalsInATurnAndRestoresTheirHandlers) {
  struct sigaction before {};
  sigaction(SIGTERM, nullptr, &before);
  {
    std::vector<int> received;
    const SignalWatch watch(epollLoop, {SIGTERM, SIGINT},
                            [&](int signal) { received.push_back(signal); });
    ::raise(SIGTERM);
    ::raise(SIGINT);
    EXPECT_TRUE(received.empty());
    ASSERT_TRUE(turnUntil([&] { return received.size() == 2; }));
    EXPECT_THAT(received, ElementsAre(SIGTERM, SIGINT));
  }
  struct sigaction after {};
  sigaction(SIGTERM, nullptr, &after);
  EXPECT_EQ(before.sa_handler, after.sa_handler);
}

}  // namespace
}  // namespace tapeloop::system
