#pragma once

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "controller/content_view.h"
#include "support/recording_lists.h"
#include "support/simulated_fixture.h"

namespace tapeloop::testing {

/// The main window's state on a simulated desktop, with recordings in the store.
class LibraryTest : public SimulatedTest {
 protected:
  LibraryTest() { open(); }

  /// The window as it is after a start.
  void open() {
    view.reset();
    view = std::make_unique<ContentView>(desktop.services(), settings);
    view->onAppear();
  }
  RecordingLibrary& library() { return view->library(); }
  LibraryState& state() { return view->libraryState(); }
  SavedRecordingRows& rows() { return state().rows; }

  /// Makes these the event log.
  void capture(const std::vector<InputEvent>& events) {
    view->captureState().eventLog.clear();
    for (const InputEvent& event : events) view->captureState().eventLog.append(event);
  }
  /// Captures these with the record button.
  void record(const std::vector<InputEvent>& events) {
    view->recordButtonPressed();
    for (const InputEvent& event : events) deliver(event);
    view->recordButtonPressed();
  }
  /// Stores a recording of `events` events, a second apart, for each title.
  void store(const std::vector<std::string>& titles, std::size_t events = 2) {
    std::vector<Recording> recordings;
    for (const std::string& title : titles) {
      std::vector<InputEvent> log;
      for (std::size_t i = 0; i < events; ++i) log.push_back(move(static_cast<double>(i)));
      recordings.push_back(makeRecording(log));
      recordings.back().title = title;
    }
    storeText(listText(recordings));
  }
  void storeText(const DefaultsValue& value) {
    EXPECT_EQ(desktop.defaults.setObjectForKey(value, "recordingList"), StoreStatus::stored);
  }

  std::vector<Recording> stored() {
    const auto value = desktop.defaults.objectForKey("recordingList");
    if (!value) return {};
    return recordingsIn(std::get<std::string>(*value)).value_or(std::vector<Recording>{});
  }
  std::vector<std::string> storedTitles() {
    std::vector<std::string> titles;
    for (const Recording& recording : stored()) titles.push_back(recording.title);
    return titles;
  }
  std::vector<std::string> shownNames() {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < state().rowCount.get(); ++i) {
      names.push_back(rows()[i].selectedRecordingName);
    }
    return names;
  }
  /// Whether the sidebar is shown, its width and height, and its rows.
  std::tuple<bool, double, double, std::size_t> sidebar() {
    return {state().showingSavedRecordings.get(), state().savedRecordingWidth.get(),
            state().savedRecordingHeight.get(), state().rowCount.get()};
  }
  void openSidebar() {
    view->listButtonPressed();
    lines();
  }
  /// Types a name into the field of a row and presses Return.
  void rename(std::size_t row, const std::string& name) {
    rows().setName(row, name);
    library().renameSavedRecording(row);
  }

  Settings settings{desktop.defaults};
  std::unique_ptr<ContentView> view;
};

}  // namespace tapeloop::testing
