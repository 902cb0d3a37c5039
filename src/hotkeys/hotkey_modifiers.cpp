#include "hotkeys/hotkey_modifiers.h"

#include "platform/hotkey_service.h"
#include "platform/input_event.h"

namespace tapeloop {
namespace {

struct Modifier {
  std::uint32_t bit;
  std::uint64_t flag;
  const char* glyph;
};

// In the order of the glyphs.
constexpr Modifier modifiers[] = {{controlKey, modifier_flag::control, "\u2303"},
                                  {optionKey, modifier_flag::option, "\u2325"},
                                  {shiftKey, modifier_flag::shift, "\u21e7"},
                                  {cmdKey, modifier_flag::command, "\u2318"}};

}  // namespace

std::uint32_t modifierBits(std::uint64_t flags) {
  std::uint32_t bits = 0;
  for (const auto& each : modifiers) {
    if (flags & each.flag) bits |= each.bit;
  }
  return bits;
}

std::uint64_t modifierFlags(std::uint64_t bits) {
  std::uint64_t flags = 0;
  for (const auto& each : modifiers) {
    if (bits & each.bit) flags |= each.flag;
  }
  return flags;
}

std::string modifierGlyphs(std::uint64_t flags) {
  std::string glyphs;
  for (const auto& each : modifiers) {
    if (flags & each.flag) glyphs += each.glyph;
  }
  return glyphs;
}

}  // namespace tapeloop
