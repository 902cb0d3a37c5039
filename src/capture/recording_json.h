#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "capture/recording.h"

namespace tapeloop {

// The JSON form of recordings: compact UTF-8 text. Floats come back bit for bit.

/// Nothing when a float is not finite or a text is not UTF-8: JSON can't carry those.
std::optional<std::string> encodeRecording(const Recording& recording);
std::optional<std::string> encodeRecordings(std::span<const Recording> recordings);

/// Nothing unless all of `text` is JSON in UTF-8 and every record in it has all of its members,
/// each of its type. Members may come in any order, unknown ones are ignored, and of several with
/// the same name the last one counts. A number has to be one that its column can hold, however it
/// is written: a float too large for a double is refused, one too small is a zero, and an integer
/// is taken by its value, to the last digit. Anywhere else a number may be any. Column lengths are
/// not compared.
std::optional<Recording> decodeRecording(std::string_view text);
std::optional<std::vector<Recording>> decodeRecordings(std::string_view text);

/// Where one record of a list stands in its text.
struct RecordingSpan {
  std::string title;
  Uuid uniqueID;
  std::size_t offset = 0;
  std::size_t length = 0;
  std::size_t titleOffset = 0;  ///< Within the record, of the title in its quotation marks.
  std::size_t titleLength = 0;
  /// The record is written as the encoder does: compact, its members in order and no others.
  bool isCanonical = false;
};
/// Validates as `decodeRecordings` does, and keeps no more than one record at a time.
std::optional<std::vector<RecordingSpan>> indexRecordings(std::string_view text);
/// A text as a JSON string, in quotation marks.
std::optional<std::string> encodeText(std::string_view text);

}  // namespace tapeloop
