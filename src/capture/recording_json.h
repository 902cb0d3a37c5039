#pragma once

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
/// the same name the last one counts. An integer may be written as any number with an integral
/// value; a float beyond the range of doubles is refused. Column lengths are not compared.
std::optional<Recording> decodeRecording(std::string_view text);
std::optional<std::vector<Recording>> decodeRecordings(std::string_view text);

}  // namespace tapeloop
