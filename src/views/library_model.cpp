#include "views/library_model.h"

#include "views/forwarding.h"

namespace tapeloop {

LibraryModel::LibraryModel(ContentView& view)
    : library_(view.library()), state_(view.libraryState()), rows_(view) {
  const auto pass = [this](auto& value, void (LibraryModel::*changed)()) {
    forward(subscriptions_, value, this, changed);
  };
  pass(state_.showingSavedRecordings, &LibraryModel::showingChanged);
  pass(state_.savedRecordingWidth, &LibraryModel::sidebarWidthChanged);
  pass(state_.savedRecordingHeight, &LibraryModel::sidebarHeightChanged);
  pass(state_.showToastSaved, &LibraryModel::showToastSavedChanged);
  pass(state_.showToastLoaded, &LibraryModel::showToastLoadedChanged);
  pass(state_.dragOver, &LibraryModel::dragOverChanged);
  forwardLater(subscriptions_, state_.storeAlert, this, &LibraryModel::storeAlertChanged);
}

}  // namespace tapeloop
