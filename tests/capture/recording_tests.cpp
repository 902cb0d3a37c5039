#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "capture/recording.h"

namespace tapeloop {
namespace {

using testing::ElementsAre;

constexpr std::uint64_t numericPad = 0x200000;

InputEvent eventOfType(EventType type) {
  // Every property set, so that a column that takes what is not its own shows.
  return {.type = type,
          .keyCode = 7,
          .timestamp = 12.5,
          .locationInWindow = {3.25, -4},
          .modifierFlags = modifier_flag::shift | modifier_flag::command | numericPad,
          .scrollingDeltaX = 1.5,
          .scrollingDeltaY = -20,
          .clickCount = 2};
}

TEST(Recording, TakesIntoEachColumnOnlyWhatTheKindOfEventCarries) {
  using enum EventType;
  std::vector<InputEvent> events;
  // The last one is of a kind that recordings do not hold.
  for (const EventType type : {leftMouseDown, mouseMoved, leftMouseDragged, scrollWheel, keyDown,
                               keyUp, rightMouseUp, static_cast<EventType>(25)}) {
    events.push_back(eventOfType(type));
  }
  const Recording recording = makeRecording(events);
  EXPECT_EQ(recording.title, "New Recording");
  EXPECT_THAT(recording.typeArray,
              ElementsAre(".leftMouseDown", ".mouseMoved", ".leftMouseDragged", ".scrollWheel",
                          ".keyDown", ".keyUp", ".rightMouseUp"));
  EXPECT_THAT(recording.timestampArray, testing::Each(12.5));
  EXPECT_THAT(recording.locXArray, testing::Each(3.25));
  EXPECT_THAT(recording.locYArray, testing::Each(-4));
  EXPECT_THAT(recording.scrollingDeltaXArray, ElementsAre(0, 0, 0, 1.5, 0, 0, 0));
  EXPECT_THAT(recording.scrollingDeltaYArray, ElementsAre(0, 0, 0, -20, 0, 0, 0));
  EXPECT_THAT(recording.charArray, ElementsAre(0, 0, 0, 0, 7, 7, 0));
  EXPECT_THAT(recording.modifierArray,
              ElementsAre("", "", "", "", ".shift.command", ".shift.command", ""));
  EXPECT_THAT(recording.clickCountArray, ElementsAre(2, 0, 0, 0, 0, 0, 2));
}

TEST(Recording, DiffersInItsIdentityAndNotInTheSignOfAZero) {
  const auto events = {eventOfType(EventType::keyDown)};
  Recording first = makeRecording(events);
  Recording second = makeRecording(events);
  EXPECT_NE(first, second);
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
  EXPECT_EQ(modifierNames(0x200001), "");
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
        "0F9E8D7C-6B5A-4321-8FED-CBA9876543210", "0F9E8D7C-6B5A-4321-8FED-CBA98765432G",
        "{F9E8D7C-6B5A-4321-8FED-CBA98765432}"}) {
    EXPECT_FALSE(Uuid::parse(text)) << text;
  }
}

}  // namespace
}  // namespace tapeloop
