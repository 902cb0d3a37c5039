#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "platform/input_event.h"

namespace tapeloop::bench {

inline constexpr std::size_t recordingCount = 1000;

/// A thousand moves and key strokes.
[[nodiscard]] std::vector<InputEvent> someEvents(std::mt19937_64& random);
/// As many recordings of that length, as they are stored: some 60 MB.
[[nodiscard]] std::string fullLibraryText();

}  // namespace tapeloop::bench
