#include "capture/recording_list.h"

#include <utility>

namespace tapeloop {
namespace {

/// The text before the title in a record that the encoder wrote.
constexpr std::string_view recordStart = "{\"title\":";

}  // namespace

RecordingList::RecordingList() : text_("[]") {}

std::optional<RecordingList> RecordingList::parse(std::string text) {
  auto spans = indexRecordings(text);
  if (!spans) return std::nullopt;
  RecordingList list;
  list.text_ = std::move(text);
  list.spans_ = std::move(*spans);
  if (list.isCanonical()) return list;
  list.text_ = list.canonicalText();
  spans = indexRecordings(list.text_);
  if (!spans) return std::nullopt;
  list.spans_ = std::move(*spans);
  return list;
}

std::string_view RecordingList::recordText(std::size_t index) const {
  return std::string_view(text_).substr(spans_[index].offset, spans_[index].length);
}

Recording RecordingList::recording(std::size_t index) const {
  return decodeRecording(recordText(index)).value_or(Recording{});
}

bool RecordingList::append(const Recording& recording) {
  const auto record = encodeRecording(recording);
  const auto title = encodeText(recording.title);
  if (!record || !title) return false;
  text_.pop_back();
  if (!spans_.empty()) text_ += ',';
  // Exactly as much as is needed: growing by itself, the string might double its memory.
  text_.reserve(text_.size() + record->size() + 1);
  RecordingSpan& span = spans_.emplace_back();
  span.title = recording.title;
  span.uniqueID = recording.uniqueID;
  span.offset = text_.size();
  span.length = record->size();
  span.titleOffset = recordStart.size();
  span.titleLength = title->size();
  span.isCanonical = true;
  text_.append(*record) += ']';
  return true;
}

bool RecordingList::rename(std::size_t index, std::string_view title) {
  const auto encoded = encodeText(title);
  if (!encoded) return false;
  RecordingSpan& span = spans_[index];
  const auto distance =
      static_cast<std::ptrdiff_t>(encoded->size()) - static_cast<std::ptrdiff_t>(span.titleLength);
  text_.replace(span.offset + span.titleOffset, span.titleLength, *encoded);
  span.title = title;
  span.titleLength = encoded->size();
  span.length += static_cast<std::size_t>(distance);
  shift(index + 1, distance);
  return true;
}

void RecordingList::remove(std::size_t index) {
  const RecordingSpan& span = spans_[index];
  // Including the comma after it or, for the last record, the one before it.
  const bool isLast = index + 1 == spans_.size();
  const std::size_t offset = isLast && index > 0 ? span.offset - 1 : span.offset;
  const std::size_t length = span.length + (spans_.size() > 1 ? 1 : 0);
  text_.erase(offset, length);
  spans_.erase(spans_.begin() + static_cast<std::ptrdiff_t>(index));
  shift(index, -static_cast<std::ptrdiff_t>(length));
}

bool RecordingList::isCanonical() const {
  std::size_t end = 0;
  for (const RecordingSpan& span : spans_) {
    if (!span.isCanonical || span.offset != end + 1) return false;
    end = span.offset + span.length;
  }
  return text_.size() == (spans_.empty() ? 2 : end + 1);
}

std::string RecordingList::canonicalText() const {
  std::string text = "[";
  text.reserve(text_.size());
  for (std::size_t i = 0; i < size(); ++i) {
    if (i > 0) text += ',';
    // Encoding does not fail for a record that was decoded.
    if (const auto again = spans_[i].isCanonical ? std::nullopt : encodeRecording(recording(i))) {
      text += *again;
    } else {
      text += recordText(i);
    }
  }
  return text += ']';
}

void RecordingList::shift(std::size_t index, std::ptrdiff_t distance) {
  for (; index < spans_.size(); ++index) {
    spans_[index].offset += static_cast<std::size_t>(distance);
  }
}

}  // namespace tapeloop
