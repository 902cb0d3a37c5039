#include "controller/saved_recording_rows.h"

#include "controller/hover.h"

namespace tapeloop {
namespace {

constexpr Color hoveredRow{1, 1, 1, 0.2};

}  // namespace

void SavedRecordingRows::hoverRow(std::size_t row, bool hovering) {
  trashButtonOpacity.set(row, hovering ? 1.0 : 0.0);
  individualBackground.set(row, hovering ? hoveredRow : clearColor);
}

void SavedRecordingRows::hoverLoadButton(std::size_t row, bool hovering) {
  hoveringOverLoadButton.set(row, hovering);
  loadButtonOpacity.set(row, hoverOpacity(hovering, isRecording_.get()));
}

void SavedRecordingRows::hoverTrashButton(std::size_t row, bool hovering) {
  hoveringOverTrashButton.set(row, hovering);
  // Of a pointer that leaves both, the row may hear first.
  const bool isSeen = hovering || individualBackground.get(row) == hoveredRow;
  trashButtonOpacity.set(row, isSeen ? hoverOpacity(hovering, isRecording_.get()) : 0);
}

void SavedRecordingRows::growTo(std::size_t count) {
  selectedRecordingName.growTo(count);
  loadButtonOpacity.growTo(count);
  individualBackground.growTo(count);
  trashButtonOpacity.growTo(count);
  hoveringOverLoadButton.growTo(count);
  hoveringOverTrashButton.growTo(count);
  trashButtonHasFocus.growTo(count);
}

}  // namespace tapeloop
