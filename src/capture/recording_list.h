#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "capture/recording.h"

namespace tapeloop {

// The text of a record in two: a head, with what a list shows of it, and the rest, which may be
// long. Together they are what `encodeRecording` gives.

struct RecordingHead {
  std::string title;
  Uuid uniqueID;
  bool operator==(const RecordingHead&) const = default;
};

/// Nothing if the title is not UTF-8.
[[nodiscard]] std::optional<std::string> encodeHead(const RecordingHead& head);
/// Nothing unless `text` is what `encodeHead` makes.
[[nodiscard]] std::optional<RecordingHead> decodeHead(std::string_view text);

}  // namespace tapeloop
