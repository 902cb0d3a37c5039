#include <cstdint>

#include <gtest/gtest.h>

#include "platform/x11/recorded_values.h"

namespace tapeloop::x11 {
namespace {

constexpr std::int64_t millisecond = 1'000'000;

TEST(ClickCounter, CountsPressesThatAreCloseInTimeAndPlace) {
  constexpr std::uint8_t left = 1;
  constexpr std::uint8_t right = 3;
  struct Press {
    const char* what;
    std::uint8_t button;
    double time;
    int x;
    int y;
    int count;
  };
  ClickCounter clicks({0.4, 5});
  for (const auto& press : {Press{"the first", left, 10.0, 100, 100, 1},
                            {"as late and as far as can be", left, 10.39, 105, 95, 2},
                            {"and once more", left, 10.78, 105, 95, 3},
                            {"too late", left, 11.19, 105, 95, 1},
                            {"too far to the right", left, 11.2, 111, 95, 1},
                            {"too far down", left, 11.3, 111, 101, 1},
                            {"close to the one before", left, 11.4, 111, 101, 2},
                            {"another button", right, 11.5, 111, 101, 1},
                            {"after another button", left, 11.6, 111, 101, 1},
                            {"the second one after it", left, 11.7, 111, 101, 2}}) {
    EXPECT_EQ(clicks.press(press.button, press.time, press.x, press.y), press.count) << press.what;
  }
  EXPECT_EQ(clicks.press(right, 11.8, 111, 101), 1);
  EXPECT_EQ(clicks.release(left), 2) << "the count of its own press";
  EXPECT_EQ(clicks.release(right), 1);
}

TEST(ServerTime, RunsOnWhenTheMillisecondsWrap) {
  // Just before the second wrap, 99 days after the machine started.
  const std::int64_t wrap = std::int64_t{2} << 32;
  ServerTime time;
  const double before = time.timestamp(0xfffffff0U, (wrap - 16) * millisecond + 250'000);
  const double after = time.timestamp(0x10U, (wrap + 16) * millisecond + 250'000);
  EXPECT_NEAR(before, static_cast<double>(wrap - 16) / 1000 + 0.00025, 1e-6);
  EXPECT_NEAR(after - before, 0.032, 1e-6);
}

TEST(ServerTime, IsRefinedWithinTheMillisecondAndNeverGoesBack) {
  ServerTime time;
  EXPECT_DOUBLE_EQ(time.timestamp(1000, 1000 * millisecond + 400'000), 1.0004);
  EXPECT_DOUBLE_EQ(time.timestamp(1000, 1000 * millisecond + 200'000), 1.0004);
  EXPECT_DOUBLE_EQ(time.timestamp(999, 1001 * millisecond), 1.0004);
  // Read late, as under load: at the end of its millisecond, not after it.
  EXPECT_NEAR(time.timestamp(1002, 1009 * millisecond), 1.003, 1e-8);
  // Read too early, as with another machine's clock: at its beginning.
  EXPECT_DOUBLE_EQ(time.timestamp(1020, 1011 * millisecond), 1.020);
}

TEST(ServerTime, TakesTheArrivalOfTheRawEvent) {
  ServerTime time;
  time.announce(1000, 1000 * millisecond + 100'000);
  time.announce(1000, 1000 * millisecond + 300'000);
  time.announce(1001, 1001 * millisecond + 500'000);  // no event follows
  time.announce(1003, 1003 * millisecond + 200'000);
  EXPECT_DOUBLE_EQ(time.timestamp(1000, 1000 * millisecond + 900'000), 1.0001);
  EXPECT_DOUBLE_EQ(time.timestamp(1000, 1000 * millisecond + 900'000), 1.0003);
  EXPECT_DOUBLE_EQ(time.timestamp(1003, 1003 * millisecond + 900'000), 1.0032);
}

}  // namespace
}  // namespace tapeloop::x11
