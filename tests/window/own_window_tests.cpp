#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "support/x_events.h"
#include "window/program.h"

namespace tapeloop::support {
namespace {

// Recorded positions count from the bottom of the screen, which is 800 pixels high.
std::string at(int x, int y) {
  return " at (" + std::to_string(x) + ", " + std::to_string(800 - y) + ")";
}

// Which input is not captured since it is for the program's own window, seen in the trace.
TEST(OwnWindowTests, InputIsCapturedUnlessItIsAimedAtTheProgram) {
  TestDesktop desktop;
  const XUser& user = desktop.user();
  Program program(desktop);
  const ClientWindow own = desktop.window();
  // A pixel of the button beside its caption.
  const auto button = program.recordButton().place();
  const auto turns = [&](std::uint32_t color) {
    return eventually([&] { return desktop.pixel(button.x + 20, button.y + 4) == color; });
  };
  user.moveTo(button.x + 20, button.y + 10);
  user.press(1);
  EXPECT_TRUE(turns(0xb43228));
  user.release(1);
  ASSERT_TRUE(program.writes("Recording: true"));
  EXPECT_TRUE(turns(0xdc5a50));
  const int x = own.x + own.width / 2;
  const int y = own.y + own.height / 2;
  user.moveTo(own.x + 10, own.y + own.height - 5);
  user.moveTo(own.x + own.width - 5, own.y + own.height - 10);
  user.tapKey("Shift_L");
  user.tapKey("Tab");
  {
    const XWindow other(desktop.server().display(), {.x = 700, .y = 20, .overrideRedirect = true});
    user.moveTo(800, 200);
    other.takeFocus();
    user.tapKey("a");
    ASSERT_TRUE(program.captures("keyUp"));
    EXPECT_TRUE(program.captures("mouseMoved" + at(800, 200)));
    EXPECT_EQ(program.captureCount(), 3U) << "the move over the other application and the key";
    user.press(1);
    user.moveTo(x, y);
    user.release(1);
    EXPECT_TRUE(program.captures("leftMouseUp" + at(x, y)));
    EXPECT_EQ(program.captureCount(), 6U) << "a drag belongs to the window in which it began";
  }
  {
    const XWindow cover(desktop.server().display(),
                        {.x = static_cast<std::int16_t>(own.x),
                         .y = static_cast<std::int16_t>(own.y),
                         .width = static_cast<std::uint16_t>(own.width),
                         .height = static_cast<std::uint16_t>(own.height),
                         .overrideRedirect = true});
    user.moveTo(x + 1, y);
    user.click(1);
    EXPECT_TRUE(program.captures("leftMouseUp" + at(x + 1, y)));
    EXPECT_EQ(program.captureCount(), 9U) << "the other application covers the program";
  }
  program.click(program.recordButton());
  ASSERT_TRUE(program.writes("Recording: false"));
  EXPECT_EQ(program.captureCount(), 9U);
}

}  // namespace
}  // namespace tapeloop::support
