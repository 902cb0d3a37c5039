#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "capture/recording.h"

namespace tapeloop {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;

InputEvent eventOfType(EventType type) {
  constexpr std::uint64_t numericPad = 0x200000;
  // Every property is set, to see which columns take it.
  return {.type = type,
          .keyCode = 7,
          .timestamp = 12.5,
          .locationInWindow = {3.25, -4},
          .modifierFlags = modifier_flag::shift | modifier_flag::command | numericPad,
          .scrollingDeltaX = 1.5,
          .scrollingDeltaY = -20,
          .clickCount = 2};
}

TEST(Recording, HoldsInEachColumnWhatTheKindCarries) {
  std::vector<InputEvent> events;
  for (const EventKind& kind : eventKinds) events.push_back(eventOfType(kind.type));
  events.push_back(eventOfType(static_cast<EventType>(25)));  // of no kind: no row
  const Recording recording = makeRecording(events);
  EXPECT_EQ(recording.title, "New Recording");
  EXPECT_THAT(
      recording.typeArray,
      ElementsAre(".mouseMoved", ".rightMouseDown", ".rightMouseUp", ".leftMouseDown",
                  ".leftMouseUp", ".leftMouseDragged", ".scrollWheel", ".keyDown", ".keyUp"));
  EXPECT_THAT(recording.timestampArray, Each(12.5));
  EXPECT_THAT(recording.locXArray, Each(3.25));
  EXPECT_THAT(recording.locYArray, Each(-4));
  EXPECT_THAT(recording.scrollingDeltaXArray, ElementsAre(0, 0, 0, 0, 0, 0, 1.5, 0, 0));
  EXPECT_THAT(recording.scrollingDeltaYArray, ElementsAre(0, 0, 0, 0, 0, 0, -20, 0, 0));
  EXPECT_THAT(recording.charArray, ElementsAre(0, 0, 0, 0, 0, 0, 0, 7, 7));
  EXPECT_THAT(recording.modifierArray,
              ElementsAre("", "", "", "", "", "", "", ".shift.command", ".shift.command"));
  EXPECT_THAT(recording.clickCountArray, ElementsAre(0, 2, 2, 2, 2, 0, 0, 0, 0));
}

TEST(Recording, ComparesAndHashesByAllMembers) {
  const auto events = {eventOfType(EventType::keyDown)};
  Recording first = makeRecording(events);
  Recording second = makeRecording(events);
  EXPECT_NE(first, second) << "each has an identity of its own";
  const std::hash<Recording> hash;
  EXPECT_NE(hash(first), hash(second));
  second.uniqueID = first.uniqueID;
  first.locXArray = {0.0};
  second.locXArray = {-0.0};
  EXPECT_EQ(first, second);
  EXPECT_EQ(hash(first), hash(second));
  std::swap(second.locXArray, second.locYArray);
  EXPECT_NE(hash(first), hash(second));
}

TEST(ModifierNames, AreWrittenInOneOrderAndFoundInAny) {
  EXPECT_EQ(modifierNames(modifier_flag::all | 0x200001),
            ".shift.capsLock.command.function.option.control");
  EXPECT_EQ(modifiersNamed(".control and .shift"), modifier_flag::control | modifier_flag::shift);
  EXPECT_EQ(modifiersNamed("shift.Control"), 0u);
  for (std::uint64_t bit = 1; bit != 0; bit <<= 1) {
    EXPECT_EQ(modifiersNamed(modifierNames(bit)), bit & modifier_flag::all);
  }
}

TEST(Uuid, ReadsEitherCaseAndWritesUpperCase) {
  const auto uuid = Uuid::parse("0f9e8d7c-6b5A-4321-8fED-cba987654321");
  ASSERT_TRUE(uuid);
  EXPECT_EQ(uuid->text(), "0F9E8D7C-6B5A-4321-8FED-CBA987654321");
  for (const char* text :
       {"", "0F9E8D7C6B5A-4321-8FED-CBA987654321-", "0F9E8D7C-6B5A-4321-8FED-CBA98765432",
        "0F9E8D7C-6B5A-4321-8FED-CBA9876543210", "0F9E8D7C-6B5A-4321-8FED-CBA98765432G"}) {
    EXPECT_FALSE(Uuid::parse(text)) << text;
  }
}

}  // namespace
}  // namespace tapeloop
