#include <cmath>
#include <limits>

#include "playback/event_synthesizer.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::ElementsAre;
using ::testing::Field;

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

TEST_F(EventSynthesizerTest, OnlyTheLeftButtonCarriesTheClickState) {
  struct Case {
    EventType type;
    MouseButton button;
    std::int64_t clickState;
  };
  const Case cases[] = {{EventType::leftMouseDown, MouseButton::left, 3},
                        {EventType::leftMouseUp, MouseButton::left, 3},
                        {EventType::rightMouseDown, MouseButton::right, 0},
                        {EventType::rightMouseUp, MouseButton::right, 0},
                        {EventType::mouseMoved, MouseButton::left, 0},
                        {EventType::leftMouseDragged, MouseButton::left, 0}};
  for (const auto& [type, button, clickState] : cases) {
    InputEvent event = mouse(type, 0, {0.5, 900.25}, 3);
    event.modifierFlags = modifier_flag::all;
    const SyntheticEvent expected{
        .type = type, .position = {0.5, -0.25}, .button = button, .clickState = clickState};
    EXPECT_EQ(translated(event), expected) << static_cast<int>(type);
  }
}

TEST_F(EventSynthesizerTest, KeysHaveExactlyTheRecordedModifiers) {
  desktop.eventSynthesis.setFlagsAtCreation(0x100);
  for (std::uint64_t bits = 0; bits < 64; ++bits) {
    std::uint64_t flags = 0;
    int i = 0;
    for (const std::uint64_t flag : {0x20000, 0x10000, 0x100000, 0x800000, 0x80000, 0x40000}) {
      if (bits >> i++ & 1) flags |= flag;
    }
    for (const EventType type : {EventType::keyDown, EventType::keyUp}) {
      const SyntheticEvent expected{.type = type, .position = {}, .keyCode = 65535, .flags = flags};
      EXPECT_EQ(translated(key(type, 0, 65535, flags | 0x200102)), expected) << flags;
    }
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

TEST_F(EventSynthesizerTest, ScrollDeltasAreTruncatedAndKeptInRange) {
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
    const SyntheticEvent expected{
        .type = EventType::scrollWheel, .position = {}, .wheel1 = wheel, .wheel2 = 1};
    EXPECT_EQ(translated(scroll(0, 1, delta)), expected) << delta;
    EXPECT_EQ(translated(scroll(0, delta, 0)).wheel2, wheel) << delta;
  }
}

TEST_F(EventSynthesizerTest, KindsAreFoundInTheTextAndPostedInOrder) {
  Recording recording = makeRecording({keyDown(0, 5)});
  recording.typeArray[0] =
      "NSEvent.keyUp.keyDown.scrollWheel.leftMouseDragged.leftMouseUp.leftMouseDown.rightMouseUp"
      ".rightMouseDown.mouseMoved";
  recording.modifierArray[0] = ".control and .capsLock";
  post(recording);
  std::vector<EventType> types;
  for (const SyntheticEvent& event : events()) types.push_back(event.type);
  using enum EventType;
  EXPECT_THAT(types,
              ElementsAre(mouseMoved, rightMouseDown, rightMouseUp, leftMouseDown, leftMouseUp,
                          leftMouseDragged, scrollWheel, EventType::keyDown, EventType::keyUp));
  EXPECT_EQ(events().back().flags, 0x50000u);
  const std::size_t before = events().size();
  for (const char* kind : {"", ".rightMouseDragged", "keyDown", ".keydown"}) {
    recording.typeArray[0] = kind;
    post(recording);
  }
  EXPECT_EQ(events().size(), before) << "unknown kinds post nothing";
}

TEST_F(EventSynthesizerTest, ARowPostsNothingIfAColumnItNeedsIsShort) {
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

TEST_F(EventSynthesizerTest, TheScreenHeightIsReadForEveryMouseEvent) {
  synthesizer.postLoggedEvent(move(0, {0, 100}));
  desktop.screens.list = {{{{0, 0}, {800, 600}}}, {{{800, 0}, {1000, 2000}}}};
  synthesizer.postLoggedEvent(move(0, {0, 100}));
  desktop.screens.list.clear();
  for (const InputEvent& event : {move(0), leftDown(0), keyDown(0, 1), scroll(0, 0, 5)}) {
    synthesizer.postLoggedEvent(event);
  }
  EXPECT_THAT(events(), ElementsAre(Field(&SyntheticEvent::position, Point{0, 800}),
                                    Field(&SyntheticEvent::position, Point{0, 500}),
                                    Field(&SyntheticEvent::type, EventType::keyDown),
                                    Field(&SyntheticEvent::type, EventType::scrollWheel)));
}

TEST_F(EventSynthesizerTest, AnEventThatCannotBeCreatedIsSkippedAlone) {
  desktop.eventSynthesis.refuse(EventType::keyDown);
  Recording recording = makeRecording({keyDown(0, 5)});
  recording.typeArray[0] = ".keyDown.keyUp";
  post(recording);
  EXPECT_THAT(events(), ElementsAre(Field(&SyntheticEvent::type, EventType::keyUp)));
  desktop.eventSynthesis.refuseAll();
  for (const InputEvent& event : {move(0), leftUp(0), keyUp(0, 1), scroll(0, 0, 5)}) {
    synthesizer.postLoggedEvent(event);
  }
  EXPECT_EQ(events().size(), 1u);
}

}  // namespace
}  // namespace tapeloop
