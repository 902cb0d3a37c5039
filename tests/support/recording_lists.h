#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "capture/recording_json.h"

namespace tapeloop::testing {

/// The text under which these are stored.
inline std::string listText(const std::vector<Recording>& recordings) {
  std::string text = "[";
  for (const Recording& recording : recordings) {
    const auto record = encodeRecording(recording);
    if (!record) throw std::invalid_argument(recording.title);
    text.append(text.size() > 1 ? "," : "").append(*record);
  }
  return text + "]";
}

/// Nothing if `text` is not a valid list.
inline std::optional<std::vector<Recording>> recordingsIn(std::string_view text) {
  const auto spans = indexRecordings(text);
  if (!spans) return std::nullopt;
  std::vector<Recording> recordings;
  for (const RecordingSpan& span : *spans) {
    recordings.push_back(decodeRecording(text.substr(span.offset, span.length)).value());
  }
  return recordings;
}

}  // namespace tapeloop::testing
