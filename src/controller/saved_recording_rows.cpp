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
  trashButtonOpacity.set(row, hoverOpacity(hovering, isRecording_.get()));
}

void SavedRecordingRows::growTo(std::size_t count) {
  selectedRecordingName.growTo(count);
  loadButtonOpacity.growTo(count);
  individualBackground.growTo(count);
  trashButtonOpacity.growTo(count);
  hoveringOverLoadButton.growTo(count);
  hoveringOverTrashButton.growTo(count);
}

}  // namespace tapeloop
