#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "capture/recording_list.h"

namespace tapeloop::testing {

/// The text under which these are stored.
inline std::string listText(const std::vector<Recording>& recordings) {
  RecordingList list;
  for (const Recording& recording : recordings) {
    if (!list.append(recording)) throw std::invalid_argument(recording.title);
  }
  return list.text();
}

/// Nothing if `text` is not a valid list.
inline std::optional<std::vector<Recording>> recordingsIn(std::string text) {
  const auto list = RecordingList::parse(std::move(text));
  if (!list) return std::nullopt;
  std::vector<Recording> recordings;
  for (std::size_t i = 0; i < list->size(); ++i) recordings.push_back(list->recording(i));
  return recordings;
}

}  // namespace tapeloop::testing
