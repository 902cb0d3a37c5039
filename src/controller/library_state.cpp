#include "controller/library_state.h"

#include <algorithm>
#include <utility>

#include "controller/buttons.h"

namespace tapeloop {
namespace {

constexpr Color hoveredRow{1, 1, 1, 0.2};

}  // namespace

const SavedRecordingRow& SavedRecordingRows::operator[](std::size_t row) const {
  static const SavedRecordingRow initial;
  return row < size() ? rows_[row] : initial;
}

void SavedRecordingRows::growTo(std::size_t count) {
  rows_.resize(std::max(count, size()));
}

template <typename Edit>
void SavedRecordingRows::change(std::size_t row, Edit edit) {
  growTo(row + 1);
  SavedRecordingRow changed = rows_[row];
  edit(changed);
  if (std::exchange(rows_[row], changed) != changed) changed_(row);
}

void SavedRecordingRows::setName(std::size_t row, std::string name) {
  change(row, [&](SavedRecordingRow& state) { state.selectedRecordingName = std::move(name); });
}

void SavedRecordingRows::focusTrashButton(std::size_t row, bool focused) {
  change(row, [&](SavedRecordingRow& state) { state.trashButtonHasFocus = focused; });
}

void SavedRecordingRows::hoverRow(std::size_t row, bool hovering) {
  change(row, [&](SavedRecordingRow& state) {
    state.trashButtonOpacity = hovering ? 1.0 : 0.0;
    state.individualBackground = hovering ? hoveredRow : clearColor;
  });
}

void SavedRecordingRows::hoverLoadButton(std::size_t row, bool hovering) {
  change(row, [&](SavedRecordingRow& state) {
    state.hoveringOverLoadButton = hovering;
    state.loadButtonOpacity = hoverOpacity(hovering, isRecording_.get());
  });
}

void SavedRecordingRows::hoverTrashButton(std::size_t row, bool hovering) {
  change(row, [&](SavedRecordingRow& state) {
    state.hoveringOverTrashButton = hovering;
    // A pointer that leaves the button and the row at once may leave the row first.
    const bool isSeen = hovering || state.individualBackground == hoveredRow;
    state.trashButtonOpacity = isSeen ? hoverOpacity(hovering, isRecording_.get()) : 0;
  });
}

}  // namespace tapeloop
