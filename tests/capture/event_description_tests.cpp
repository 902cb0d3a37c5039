#include <limits>

#include "capture/event_description.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;

TEST(EventDescriptionTest, TellsTypeLocationTimeAndFlags) {
  InputEvent event = keyDown(1234.5, 7, 0x20102);
  event.locationInWindow = {12.25, -3};
  EXPECT_EQ(EventDescription(event).text(),
            "Optional(keyDown at (12.25, -3) time 1234.5 flags 0x20102)");
}

TEST(EventDescriptionTest, HasRoomForTheLongestValues) {
  const double longest = -std::numeric_limits<double>::max() / 3;
  InputEvent event = mouse(static_cast<EventType>(0xffffffff), longest, {longest, longest});
  event.modifierFlags = std::numeric_limits<std::uint64_t>::max();
  const std::string text(EventDescription(event).text());
  EXPECT_TRUE(text.starts_with("Optional(type 4294967295 at (")) << text;
  EXPECT_TRUE(text.ends_with(" flags 0xffffffffffffffff)")) << text;
}

}  // namespace
}  // namespace tapeloop
