#include <gtest/gtest.h>

#include "platform/x11/recorded_values.h"

namespace tapeloop::x11 {
namespace {

constexpr std::uint8_t left = 1;
constexpr std::uint8_t right = 3;

TEST(ClickCounter, CountsPressesOfOneButtonThatFollowCloselyInTimeAndPlace) {
  ClickCounter clicks({0.4, 5});
  EXPECT_EQ(clicks.press(left, 10.0, 100, 100), 1);
  EXPECT_EQ(clicks.press(left, 10.3, 105, 95), 2);
  EXPECT_EQ(clicks.press(left, 10.6, 105, 95), 3);
  EXPECT_EQ(clicks.release(left), 3);
}

TEST(ClickCounter, BeginsAnewWhenTheNextPressIsLateFarOffOrOfAnotherButton) {
  ClickCounter clicks({0.4, 5});
  clicks.press(left, 10.0, 100, 100);
  EXPECT_EQ(clicks.press(left, 10.41, 100, 100), 1) << "late";
  EXPECT_EQ(clicks.press(left, 10.5, 106, 100), 1) << "far off";
  EXPECT_EQ(clicks.press(right, 10.6, 106, 100), 1) << "another button";
  EXPECT_EQ(clicks.press(left, 10.7, 106, 100), 1) << "interrupted by another button";
  EXPECT_EQ(clicks.press(left, 10.8, 106, 100), 2);
}

TEST(ClickCounter, GivesAReleaseTheCountOfItsOwnPress) {
  ClickCounter clicks({0.4, 5});
  clicks.press(left, 10.0, 100, 100);
  clicks.press(left, 10.1, 100, 100);
  clicks.press(right, 10.2, 100, 100);
  EXPECT_EQ(clicks.release(left), 2);
  EXPECT_EQ(clicks.release(right), 1);
}

}  // namespace
}  // namespace tapeloop::x11
