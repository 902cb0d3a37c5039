#include <limits>

#include <gtest/gtest.h>

#include "playback/date_interval.h"

namespace tapeloop {
namespace {

TEST(DateIntervalTest, WritesBothTimesToTheMillisecond) {
  EXPECT_EQ(dateInterval(1'709'164'800.0, 1'709'251'199.9994),
            "2024-02-29T00:00:00.000Z to 2024-02-29T23:59:59.999Z");
  EXPECT_EQ(dateInterval(-0.001, 0.25), "1969-12-31T23:59:59.999Z to 1970-01-01T00:00:00.250Z");
}

TEST(DateIntervalTest, StaysWithinFourDigitYears) {
  EXPECT_EQ(dateInterval(-1e300, std::numeric_limits<double>::infinity()),
            "0000-01-01T00:00:00.000Z to 9999-12-31T23:59:59.999Z");
}

}  // namespace
}  // namespace tapeloop
