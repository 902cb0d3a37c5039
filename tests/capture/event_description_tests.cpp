#include <limits>

#include "capture/event_description.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::StartsWith;

TEST(EventDescriptionTest, TellsTypeLocationTimeAndFlagsHoweverLongTheyAre) {
  InputEvent event = keyDown(1234.5, 7, 0x20102);
  event.locationInWindow = {12.25, -3};
  EXPECT_EQ(EventDescription(event).text(),
            "Optional(keyDown at (12.25, -3) time 1234.5 flags 0x20102)");
  const double longest = -std::numeric_limits<double>::max() / 3;
  event = mouse(static_cast<EventType>(0xffffffff), longest, {longest, longest});
  event.modifierFlags = std::numeric_limits<std::uint64_t>::max();
  EXPECT_THAT(
      std::string(EventDescription(event).text()),
      AllOf(StartsWith("Optional(type 4294967295 at ("), EndsWith(" flags 0xffffffffffffffff)")));
}

}  // namespace
}  // namespace tapeloop
