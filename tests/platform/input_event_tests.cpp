#include <gtest/gtest.h>

#include "platform/input_event.h"

namespace tapeloop {
namespace {

TEST(ModifierNamesTest, AreWrittenInOneOrderAndFoundInAny) {
  EXPECT_EQ(modifierNames(modifier_flag::all | 0x200001),
            ".shift.capsLock.command.function.option.control");
  EXPECT_EQ(modifierNames(0x200001), "");
  EXPECT_EQ(modifiersNamed(".control and .shift"), modifier_flag::control | modifier_flag::shift);
  EXPECT_EQ(modifiersNamed("shift.Control"), 0u);
  for (std::uint64_t bit = 1; bit != 0; bit <<= 1) {
    EXPECT_EQ(modifiersNamed(modifierNames(bit)), bit & modifier_flag::all);
  }
}

}  // namespace
}  // namespace tapeloop
