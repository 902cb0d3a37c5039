#pragma once

#include <string>

namespace tapeloop {

/// "2026-05-01T12:00:00.000Z to 2026-05-01T12:00:07.250Z". Both in seconds since 1970-01-01.
std::string dateInterval(double start, double end);

}  // namespace tapeloop
