#include <cstdint>

#include <gtest/gtest.h>

#include "platform/x11/recorded_values.h"

namespace tapeloop::x11 {
namespace {

constexpr std::int64_t millisecond = 1'000'000;

TEST(ServerTime, RunsOnWhenTheServersMillisecondsWrap) {
  // Just before the second wrap, 99 days after the machine started.
  const std::int64_t wrap = std::int64_t{2} << 32;
  ServerTime time;
  const double before = time.timestamp(0xfffffff0U, (wrap - 16) * millisecond + 250'000);
  const double after = time.timestamp(0x10U, (wrap + 16) * millisecond + 250'000);
  EXPECT_NEAR(before, static_cast<double>(wrap - 16) / 1000 + 0.00025, 1e-6);
  EXPECT_NEAR(after - before, 0.032, 1e-6);
}

TEST(ServerTime, IsRefinedByTheArrivalButNeverLeavesTheServersMillisecond) {
  ServerTime time;
  EXPECT_DOUBLE_EQ(time.timestamp(1000, 1000 * millisecond + 400'000), 1.0004);
  // Seen late, as under load: at the end of its millisecond, not after it.
  EXPECT_NEAR(time.timestamp(1002, 1009 * millisecond), 1.003, 1e-8);
  // Seen too early, as with another machine's clock: at its beginning.
  EXPECT_DOUBLE_EQ(time.timestamp(1020, 1011 * millisecond), 1.020);
}

TEST(ServerTime, NeverGoesBack) {
  ServerTime time;
  const double first = time.timestamp(1000, 1000 * millisecond + 800'000);
  EXPECT_GE(time.timestamp(1000, 1000 * millisecond + 200'000), first);
  EXPECT_GE(time.timestamp(999, 1001 * millisecond), first);
  EXPECT_GT(time.timestamp(1001, 1001 * millisecond + 100'000), first);
}

TEST(ServerTime, PrefersTheFirstWordOfAnEventToItsArrival) {
  ServerTime time;
  time.announce(1000, 1000 * millisecond + 100'000);
  time.announce(1000, 1000 * millisecond + 300'000);
  time.announce(1001, 1001 * millisecond + 500'000);  // nothing follows on this one
  time.announce(1003, 1003 * millisecond + 200'000);
  EXPECT_DOUBLE_EQ(time.timestamp(1000, 1000 * millisecond + 900'000), 1.0001);
  EXPECT_DOUBLE_EQ(time.timestamp(1000, 1000 * millisecond + 900'000), 1.0003);
  EXPECT_DOUBLE_EQ(time.timestamp(1003, 1003 * millisecond + 900'000), 1.0032);
}

}  // namespace
}  // namespace tapeloop::x11
