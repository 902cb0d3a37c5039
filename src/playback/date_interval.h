#pragma once

#include <string>

namespace tapeloop {

/// "2026-05-01T12:00:00.000Z to 2026-05-01T12:00:07.250Z". Both in seconds since 1970-01-01; times
/// outside the years 0 to 9999 are written as the first or the last of them.
std::string dateInterval(double start, double end);

}  // namespace tapeloop
