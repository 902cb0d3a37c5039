#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "capture/recording.h"

namespace tapeloop::fuzz {

// A second decoder for the JSON form, written on RapidJSON: slow, but simple. The results of the
// program's decoder are compared with it.

std::optional<Recording> readRecording(std::string_view text);
std::optional<std::vector<Recording>> readRecordings(std::string_view text);

/// For the text of a valid record: it has each member once, no others, and no blanks between them.
bool isCompact(std::string_view recordText);

/// Compares floats by their bits: 0.0 and -0.0 differ, unlike with `==`.
bool isSame(const Recording& a, const Recording& b);

}  // namespace tapeloop::fuzz
