#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/recording.h"
#include "capture/recording_json.h"

namespace tapeloop {

/// The saved recordings as the JSON text that is stored, with an index of it. A list may have many
/// megabytes and is in memory only once: a record is decoded when it is asked for, and changes are
/// made in the text.
class RecordingList {
 public:
  /// An empty one.
  RecordingList();
  /// Nothing if `text` is not a list of valid records. Unknown members are dropped, and the text is
  /// brought into the form that the encoder writes.
  static std::optional<RecordingList> parse(std::string text);

  /// Compact JSON.
  [[nodiscard]] const std::string& text() const { return text_; }
  [[nodiscard]] std::size_t size() const { return spans_.size(); }
  [[nodiscard]] const std::string& title(std::size_t index) const { return spans_[index].title; }
  [[nodiscard]] const Uuid& uniqueID(std::size_t index) const { return spans_[index].uniqueID; }
  /// The JSON object of one record.
  [[nodiscard]] std::string_view recordText(std::size_t index) const;
  [[nodiscard]] Recording recording(std::size_t index) const;

  // These return false and change nothing if JSON can't represent what they were given.
  [[nodiscard]] bool append(const Recording& recording);
  [[nodiscard]] bool rename(std::size_t index, std::string_view title);

  void remove(std::size_t index);

 private:
  [[nodiscard]] bool isCanonical() const;
  [[nodiscard]] std::string canonicalText() const;
  /// Adjusts the places of the records from `index` on.
  void shift(std::size_t index, std::ptrdiff_t distance);

  std::string text_;
  std::vector<RecordingSpan> spans_;
};

}  // namespace tapeloop
