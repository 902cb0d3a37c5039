#pragma once

// A member of one of its structures is called "explicit", which C++ reserves. Standard headers must
// not see the macro, so they come first.
#include <cstddef>
#include <cstdint>

#include <xcb/xcb.h>

#define explicit explicit_  // NOLINT(cppcoreguidelines-macro-usage)
#include <xcb/xkb.h>
#undef explicit
