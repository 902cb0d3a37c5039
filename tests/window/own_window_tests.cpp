#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/x_window.h"
#include "window/program.h"

namespace tapeloop::support {
namespace {

// The screen is 800 pixels high, and positions are written upwards.
std::string at(int x, int y) {
  return " at (" + std::to_string(x) + ", " + std::to_string(800 - y) + ")";
}

/// What of input the program takes for its own business, seen in the trace of a capture.
class OwnWindowTests : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
    program.click(program.recordButton());
    ASSERT_TRUE(program.writes("Recording: true"));
  }

  std::size_t captured() {
    const auto& lines = program.process().lines();
    return static_cast<std::size_t>(
        std::count_if(lines.begin(), lines.end(),
                      [](const std::string& line) { return line.starts_with("Optional("); }));
  }

  TestDesktop desktop;
  Program program{desktop};
  const XPoster& user = desktop.user();
};

TEST_F(OwnWindowTests, InputAimedAtItIsNotCaptured) {
  const XWindow other(desktop.server().display(), {.x = 700, .y = 20, .overrideRedirect = true});
  const ClientWindow own = desktop.windows("Tapeloop").front();
  user.moveTo(own.x + 10, own.y + own.height - 5);
  user.moveTo(own.x + own.width - 5, own.y + own.height - 10);
  user.tapKey("Shift_L");
  user.tapKey("Tab");

  user.moveTo(800, 200);
  other.takeFocus();
  user.tapKey("a");
  ASSERT_TRUE(program.captures("keyUp"));
  program.click(program.recordButton());
  ASSERT_TRUE(program.writes("Recording: false"));
  EXPECT_TRUE(program.captures("mouseMoved" + at(800, 200)));
  EXPECT_EQ(captured(), 3U) << "the move over the other application and the key typed there";
}

TEST_F(OwnWindowTests, ADragBelongsToTheWindowInWhichItBegan) {
  const XWindow other(desktop.server().display(), {.x = 700, .y = 20, .overrideRedirect = true});
  const ClientWindow own = desktop.windows("Tapeloop").front();
  const int x = own.x + own.width / 2;
  const int y = own.y + own.height / 2;
  user.moveTo(800, 200);
  user.press(1);
  user.moveTo(x, y);
  user.release(1);
  EXPECT_TRUE(program.captures("leftMouseUp" + at(x, y)));
  EXPECT_EQ(captured(), 4U);
}

TEST_F(OwnWindowTests, InputOnAWindowThatCoversItIsCaptured) {
  const ClientWindow own = desktop.windows("Tapeloop").front();
  const int x = own.x + own.width / 2;
  const int y = own.y + own.height / 2;
  {
    const XWindow cover(desktop.server().display(),
                        {.x = static_cast<std::int16_t>(own.x),
                         .y = static_cast<std::int16_t>(own.y),
                         .width = static_cast<std::uint16_t>(own.width),
                         .height = static_cast<std::uint16_t>(own.height),
                         .overrideRedirect = true});
    user.moveTo(x, y);
    user.click(1);
    EXPECT_TRUE(program.captures("leftMouseUp" + at(x, y)));
    EXPECT_EQ(captured(), 3U);
  }
}

}  // namespace
}  // namespace tapeloop::support
