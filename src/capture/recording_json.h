#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/recording.h"

namespace tapeloop {

// The JSON form of recordings: compact UTF-8 text. Floats are read back with the same bits.

/// Nothing if a float is not finite or a text is not UTF-8: JSON can't represent those.
std::optional<std::string> encodeRecording(const Recording& recording);

/// Nothing unless all of `text` is JSON in UTF-8 and the record has all of its members, each of its
/// type. Members may come in any order, unknown ones are ignored, and of several with the same name
/// the last one counts. A float that is too large for a double is refused, one that is too small is
/// a zero. An integer may be written with a fraction or an exponent if its value is integral. In an
/// unknown member numbers have no limits. Column lengths are not compared.
std::optional<Recording> decodeRecording(std::string_view text);

/// The place of one record in the text of a list.
struct RecordingSpan {
  std::string title;
  Uuid uniqueID;
  std::size_t offset = 0;
  std::size_t length = 0;
  std::size_t titleOffset = 0;  ///< In the record; of the title with its quotation marks.
  std::size_t titleLength = 0;
  /// The text of the record is what the encoder would write for it.
  bool isCanonical = false;
};
/// Nothing unless `text` is a JSON array of records, each valid as for `decodeRecording`. Only one
/// record is in memory at a time.
std::optional<std::vector<RecordingSpan>> indexRecordings(std::string_view text);
/// A text as a JSON string, in quotation marks.
std::optional<std::string> encodeText(std::string_view text);

}  // namespace tapeloop
