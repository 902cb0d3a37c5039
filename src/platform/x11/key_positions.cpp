#include "platform/x11/key_positions.h"

#include <algorithm>
#include <iterator>

namespace tapeloop::x11 {
namespace {

struct Position {
  std::string_view name;
  std::uint16_t code;
};

// XKB names a key by row and place (row C, first key: AC01), whatever the keycodes of the server
// are and whatever is written on the key; virtual key codes name the same places. Sorted by name.
constexpr Position positions[] = {
    {"AB01", 6},   {"AB02", 7},   {"AB03", 8},   {"AB04", 9},   {"AB05", 11},  {"AB06", 45},
    {"AB07", 46},  {"AB08", 43},  {"AB09", 47},  {"AB10", 44},  {"AC01", 0},   {"AC02", 1},
    {"AC03", 2},   {"AC04", 3},   {"AC05", 5},   {"AC06", 4},   {"AC07", 38},  {"AC08", 40},
    {"AC09", 37},  {"AC10", 41},  {"AC11", 39},  {"AD01", 12},  {"AD02", 13},  {"AD03", 14},
    {"AD04", 15},  {"AD05", 17},  {"AD06", 16},  {"AD07", 32},  {"AD08", 34},  {"AD09", 31},
    {"AD10", 35},  {"AD11", 33},  {"AD12", 30},  {"AE01", 18},  {"AE02", 19},  {"AE03", 20},
    {"AE04", 21},  {"AE05", 23},  {"AE06", 22},  {"AE07", 26},  {"AE08", 28},  {"AE09", 25},
    {"AE10", 29},  {"AE11", 27},  {"AE12", 24},  {"BKSL", 42},  {"BKSP", 51},  {"CAPS", 57},
    {"DELE", 117}, {"DOWN", 125}, {"END", 119},  {"ESC", 53},   {"FK01", 122}, {"FK02", 120},
    {"FK03", 99},  {"FK04", 118}, {"FK05", 96},  {"FK06", 97},  {"FK07", 98},  {"FK08", 100},
    {"FK09", 101}, {"FK10", 109}, {"FK11", 103}, {"FK12", 111}, {"FK13", 105}, {"FK14", 107},
    {"FK15", 113}, {"FK16", 106}, {"FK17", 64},  {"FK18", 79},  {"FK19", 80},  {"FK20", 90},
    {"HOME", 115}, {"INS", 114},  {"KP0", 82},   {"KP1", 83},   {"KP2", 84},   {"KP3", 85},
    {"KP4", 86},   {"KP5", 87},   {"KP6", 88},   {"KP7", 89},   {"KP8", 91},   {"KP9", 92},
    {"KPAD", 69},  {"KPDL", 65},  {"KPDV", 75},  {"KPEN", 76},  {"KPEQ", 81},  {"KPMU", 67},
    {"KPSU", 78},  {"LALT", 58},  {"LCTL", 59},  {"LEFT", 123}, {"LFSH", 56},  {"LWIN", 55},
    {"MUTE", 74},  {"NMLK", 71},  {"PGDN", 121}, {"PGUP", 116}, {"RALT", 61},  {"RCTL", 62},
    {"RGHT", 124}, {"RTRN", 36},  {"RTSH", 60},  {"RWIN", 54},  {"SPCE", 49},  {"TAB", 48},
    {"TLDE", 50},  {"UP", 126},   {"VOL+", 72},  {"VOL-", 73},
};

constexpr bool byName(const Position& a, const Position& b) {
  return a.name < b.name;
}
static_assert(std::is_sorted(std::begin(positions), std::end(positions), byName));

}  // namespace

std::optional<std::uint16_t> virtualKeyCode(std::string_view xkbKeyName) {
  const auto* found =
      std::lower_bound(std::begin(positions), std::end(positions), Position{xkbKeyName, 0}, byName);
  if (found == std::end(positions) || found->name != xkbKeyName) return std::nullopt;
  return found->code;
}

}  // namespace tapeloop::x11
