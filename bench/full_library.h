#pragma once

#include <cstddef>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "platform/input_event.h"

namespace tapeloop::bench {

/// Moves and key strokes.
[[nodiscard]] std::vector<InputEvent> someEvents(std::mt19937_64& random, std::size_t count);

/// A library of recordings of the same length.
struct LibrarySize {
  std::size_t recordings = 1000;
  std::size_t events = 1000;  ///< Of each recording.
};
/// Makes a store with such a library. Some 60 bytes an event. False if that fails.
[[nodiscard]] bool makeLibrary(const std::filesystem::path& file, const LibrarySize& size);

}  // namespace tapeloop::bench
