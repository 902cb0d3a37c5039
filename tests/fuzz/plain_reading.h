#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "capture/recording.h"

namespace tapeloop::fuzz {

// The JSON form once more, by way of a tree of values: slow, and short enough to be believed. What
// the decoder makes of a text has to be the same.

std::optional<Recording> readRecording(std::string_view text);
std::optional<std::vector<Recording>> readRecordings(std::string_view text);

/// Of a valid record: each member once, no others, and no blanks between them.
bool isCompact(std::string_view recordText);

/// Equal in every bit: unlike `==`, tells the two zeros apart.
bool isSame(const Recording& a, const Recording& b);

}  // namespace tapeloop::fuzz
