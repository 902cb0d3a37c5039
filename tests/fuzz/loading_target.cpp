#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "controller/content_view.h"
#include "controller/settings.h"
#include "controller/stored_recordings.h"
#include "fuzz/targets.h"
#include "platform/simulated/simulated_desktop.h"
#include "support/recording_lists.h"

namespace tapeloop::fuzz {
namespace {

using Records = std::optional<std::vector<Recording>>;

/// A run ends at the last time stamp. If a row in the middle has a later one, its event is still
/// posted then, and keys may be down until then.
bool endsWithTheLastRow(const Recording& recording) {
  const auto& times = recording.timestampArray;
  return times.empty() || *std::max_element(times.begin(), times.end()) == times.back();
}

void play(ContentView& view, simulated::SimulatedDesktop& desktop) {
  // Longer than any sensible recording. The virtual clock skips to the deadlines.
  constexpr double longTime = 1e7;
  // The text of a row may name more than one kind of event.
  constexpr std::size_t kinds = eventKinds.size();
  const auto& posted = desktop.eventSynthesis.posted();
  const std::size_t before = posted.size();
  const Recording& loaded = view.playbackState().loadedRecording;
  const std::size_t rows = std::min(loaded.typeArray.size(), loaded.timestampArray.size());

  view.playButtonPressed();
  view.dismissPlayAlert();
  desktop.runLoop.advance(longTime);
  promise(posted.size() - before <= kinds * rows, "nothing is posted but what the rows say");
  view.escapeKeyPressed();
  desktop.runLoop.advance(1);
  promise(!view.captureState().isPlaying.get(), "Escape ends playback");
  if (!endsWithTheLastRow(loaded)) return;
  promise(desktop.eventSynthesis.heldKeys().empty(), "no key stays down");
  promise(desktop.eventSynthesis.heldButtons().empty(), "no button stays down");
}

}  // namespace

// The input is the stored list. The window opens, every row is loaded and played, and another
// recording is saved.
void loading(std::string_view input) {
  constexpr std::size_t mostRows = 4;
  simulated::SimulatedDesktop desktop;
  (void)desktop.defaults.setObjectForKey(std::string(input), StoredRecordings::key);
  const Records before = testing::recordingsIn(std::string(input));

  Settings settings(desktop.defaults);
  ContentView view(desktop.services(), settings);
  view.onAppear();
  view.listButtonPressed();
  const std::size_t rows = view.libraryState().rowCount.get();
  promise(rows == (before ? before->size() : 0), "a row for each record");
  for (std::size_t row = 0; row < std::min(rows, mostRows); ++row) {
    view.loadButtonPressed(row);
    promise(view.playbackState().loadedRecording == (*before)[row], "the row's record is loaded");
    play(view, desktop);
  }

  InputEvent move;
  view.captureState().eventLog.append(move);
  view.saveButtonPressed();
  const auto text = desktop.defaults.objectForKey(StoredRecordings::key);
  const Records after = testing::recordingsIn(std::get<std::string>(*text));
  promise(after && after->size() == rows + 1, "the new record is stored behind the others");
  for (std::size_t row = 0; row < rows; ++row) {
    promise((*after)[row] == (*before)[row], "the others stay as they were");
  }
  const auto aside = desktop.defaults.objectForKey(StoredRecordings::keyAside);
  promise(aside.has_value() != before.has_value(), "what can't be read is kept aside");
  if (aside) promise(std::get<std::string>(*aside) == input, "byte by byte");
}

}  // namespace tapeloop::fuzz
