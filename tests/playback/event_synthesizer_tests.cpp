#include <cmath>
#include <limits>

#include "playback/event_synthesizer.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class EventSynthesizerTest : public SimulatedTest {
 protected:
  EventSynthesizer synthesizer{desktop.eventSynthesis, desktop.screens, desktop.trace};

  std::vector<SyntheticEvent> events() const {
    std::vector<SyntheticEvent> result;
    for (const auto& posting : desktop.eventSynthesis.posted()) result.push_back(posting.event);
    return result;
  }
  void post(const Recording& recording) { synthesizer.postRecordedEvent(recording, 0); }
  // What both sources make of one event; they must not differ.
  SyntheticEvent translated(const InputEvent& event) {
    synthesizer.postLoggedEvent(event);
    post(makeRecording({event}));
    const auto both = events();
    EXPECT_EQ(both.at(both.size() - 2), both.back());
    return both.back();
  }
};

TEST_F(EventSynthesizerTest, PressesAndReleasesOfTheLeftButtonCarryTheClickState) {
  for (const EventType type : {EventType::leftMouseDown, EventType::leftMouseUp}) {
    const auto event = translated(mouse(type, 0, {100, 50}, 2));
    EXPECT_EQ(event.type, type);
    EXPECT_EQ(event.position, (Point{100, 850}));
    EXPECT_EQ(event.button, MouseButton::left);
    EXPECT_EQ(event.clickState, 2);
  }
}

TEST_F(EventSynthesizerTest, OtherMouseEventsCarryNoClickState) {
  for (const EventType type : {EventType::rightMouseDown, EventType::rightMouseUp,
                               EventType::mouseMoved, EventType::leftMouseDragged}) {
    const bool right = type == EventType::rightMouseDown || type == EventType::rightMouseUp;
    InputEvent moved = mouse(type, 0, {0.5, 900.25}, 3);
    moved.modifierFlags = modifier_flag::all;
    const auto event = translated(moved);
    EXPECT_EQ(event.type, type);
    EXPECT_EQ(event.position, (Point{0.5, -0.25}));
    EXPECT_EQ(event.button, right ? MouseButton::right : MouseButton::left);
    EXPECT_EQ(event.clickState, 0);
    EXPECT_EQ(event.flags, 0u);
  }
}

TEST_F(EventSynthesizerTest, KeysAreDeliveredWithExactlyTheRecordedModifiers) {
  desktop.eventSynthesis.setFlagsAtCreation(0x100);
  for (std::uint64_t bits = 0; bits < 64; ++bits) {
    std::uint64_t flags = 0;
    int i = 0;
    for (const std::uint64_t flag : {0x20000, 0x10000, 0x100000, 0x800000, 0x80000, 0x40000}) {
      if (bits >> i++ & 1) flags |= flag;
    }
    const auto down = translated(keyDown(0, 300, flags | 0x200102));
    EXPECT_EQ(down.flags, flags);
    EXPECT_EQ(down.keyCode, 300);
    EXPECT_EQ(down.type, EventType::keyDown);
    const auto up = translated(keyUp(0, 65535, flags));
    EXPECT_EQ(up.flags, flags);
    EXPECT_EQ(up.keyCode, 65535);
    EXPECT_EQ(up.type, EventType::keyUp);
  }
}

TEST_F(EventSynthesizerTest, OnlyALoggedKeyDownIsTraced) {
  synthesizer.postLoggedEvent(keyDown(0, 1, 0x120102));
  synthesizer.postLoggedEvent(keyDown(0, 1));
  synthesizer.postLoggedEvent(keyUp(0, 1, 0x120000));
  synthesizer.postLoggedEvent(leftDown(0));
  post(makeRecording({keyDown(0, 1, 0x120000)}));
  EXPECT_THAT(lines(), ElementsAre(".shift.command 0x120102", "0x0"));
}

TEST_F(EventSynthesizerTest, ScrollDeltasAreTruncatedTowardZeroAndKeptInRange) {
  const double infinity = std::numeric_limits<double>::infinity();
  const std::pair<double, std::int32_t> cases[] = {{2.9, 2},
                                                   {-3.7, -3},
                                                   {0.4, 0},
                                                   {NAN, 0},
                                                   {1e12, 2147483647},
                                                   {-1e12, -2147483647 - 1},
                                                   {2147483647.5, 2147483647},
                                                   {-infinity, -2147483647 - 1},
                                                   {infinity, 2147483647}};
  for (const auto& [delta, wheel] : cases) {
    const auto vertical = translated(scroll(0, 1, delta));
    EXPECT_EQ(vertical.type, EventType::scrollWheel);
    EXPECT_EQ(vertical.wheel1, wheel);
    EXPECT_EQ(vertical.wheel2, 1);
    EXPECT_EQ(translated(scroll(0, delta, 0)).wheel2, wheel);
  }
}

TEST_F(EventSynthesizerTest, OtherKindsPostNothing) {
  for (const std::uint32_t type : {0u, 7u, 12u, 25u, 0xffffffffu}) {
    synthesizer.postLoggedEvent(mouse(static_cast<EventType>(type), 0));
  }
  for (const char* kind : {"", ".rightMouseDragged", "keyDown", ".keydown"}) {
    Recording recording = makeRecording({move(0)});
    recording.typeArray[0] = kind;
    post(recording);
  }
  EXPECT_THAT(events(), IsEmpty());
}

TEST_F(EventSynthesizerTest, KindsAndModifiersAreFoundInsideTheirTexts) {
  Recording recording = makeRecording({keyDown(0, 5)});
  recording.typeArray[0] = "NSEvent.keyUp.mouseMoved";
  recording.modifierArray[0] = ".control and .capsLock";
  post(recording);
  ASSERT_EQ(events().size(), 2u);
  EXPECT_EQ(events()[0].type, EventType::mouseMoved);
  EXPECT_EQ(events()[1].type, EventType::keyUp);
  EXPECT_EQ(events()[1].flags, 0x50000u);
}

TEST_F(EventSynthesizerTest, ARowPostsNothingWhenAColumnThatItNeedsIsTooShort) {
  const auto posts = [&](const InputEvent& event, auto Recording::*column) {
    const std::size_t before = events().size();
    Recording recording = makeRecording({event});
    (recording.*column).clear();
    post(recording);
    return events().size() > before;
  };
  EXPECT_FALSE(posts(move(0), &Recording::typeArray));
  EXPECT_FALSE(posts(move(0), &Recording::locXArray));
  EXPECT_FALSE(posts(drag(0), &Recording::locYArray));
  EXPECT_FALSE(posts(leftDown(0), &Recording::clickCountArray));
  EXPECT_FALSE(posts(leftUp(0), &Recording::clickCountArray));
  EXPECT_FALSE(posts(scroll(0, 1, 1), &Recording::scrollingDeltaXArray));
  EXPECT_FALSE(posts(scroll(0, 1, 1), &Recording::scrollingDeltaYArray));
  EXPECT_FALSE(posts(keyDown(0, 1), &Recording::charArray));
  EXPECT_FALSE(posts(keyUp(0, 1), &Recording::modifierArray));

  EXPECT_TRUE(posts(move(0), &Recording::clickCountArray));
  EXPECT_TRUE(posts(mouse(EventType::rightMouseDown, 0), &Recording::clickCountArray));
  EXPECT_TRUE(posts(scroll(0, 1, 1), &Recording::locXArray));
  EXPECT_TRUE(posts(keyDown(0, 1), &Recording::locYArray));
  EXPECT_TRUE(posts(keyDown(0, 1), &Recording::timestampArray));
}

TEST_F(EventSynthesizerTest, WithoutAScreenMouseEventsAreSkippedAndOthersAreNot) {
  desktop.screens.list.clear();
  for (const InputEvent& event : {move(0), leftDown(0), keyDown(0, 1), scroll(0, 0, 5)}) {
    synthesizer.postLoggedEvent(event);
  }
  ASSERT_EQ(events().size(), 2u);
  EXPECT_EQ(events()[0].type, EventType::keyDown);
  EXPECT_EQ(events()[1].type, EventType::scrollWheel);
}

TEST_F(EventSynthesizerTest, TheHeightOfThePrimaryScreenIsReadForEveryEvent) {
  synthesizer.postLoggedEvent(move(0, {0, 100}));
  desktop.screens.list = {{{{0, 0}, {800, 600}}}, {{{800, 0}, {1000, 2000}}}};
  synthesizer.postLoggedEvent(move(0, {0, 100}));
  EXPECT_EQ(events()[0].position.y, 800);
  EXPECT_EQ(events()[1].position.y, 500);
}

TEST_F(EventSynthesizerTest, AnEventThatCannotBeCreatedIsSkippedAlone) {
  desktop.eventSynthesis.refuse(EventType::keyDown);
  Recording recording = makeRecording({keyDown(0, 5)});
  recording.typeArray[0] = ".keyDown.keyUp";
  post(recording);
  ASSERT_EQ(events().size(), 1u);
  EXPECT_EQ(events()[0].type, EventType::keyUp);
  desktop.eventSynthesis.refuseAll();
  for (const InputEvent& event : {move(0), leftUp(0), keyUp(0, 1), scroll(0, 0, 5)}) {
    synthesizer.postLoggedEvent(event);
  }
  EXPECT_EQ(events().size(), 1u);
}

}  // namespace
}  // namespace tapeloop
