#include "controller/recording_library.h"

#include <algorithm>
#include <utility>

namespace tapeloop {
namespace {

constexpr double sidebarWidth = 280;
constexpr double sidebarHeight = 220;

using Outcome = StoredRecordings::Outcome;

/// A list of texts as it is printed. It can be printed and then appended to.
class BracketedList {
 public:
  void append(std::string_view element) {
    if (text_.size() > 1) {
      text_.pop_back();
      text_ += ", ";
    }
    text_.append("\"").append(element).append("\"]");
  }
  explicit operator std::string_view() const { return text_.size() > 1 ? text_ : empty; }

 private:
  static constexpr std::string_view empty = "[]";
  std::string text_ = "[";
};

const char* storeSentence(StoreStatus status) {
  switch (status) {
    case StoreStatus::stored:
      return "";
    case StoreStatus::readOnly:
      return "The change was not saved: there is no permission to write the recordings.";
    case StoreStatus::diskFull:
      return "The change was not saved: there is no room left for the recordings.";
    case StoreStatus::locked:
      return "The change was not saved: another program is using the recordings. Try again.";
    case StoreStatus::damaged:
      return "The change was not saved: the file with the recordings is damaged.";
    case StoreStatus::newer:
      return "The change was not saved: a newer version of Tapeloop keeps the recordings.";
    case StoreStatus::unavailable:
      break;
  }
  return "The change was not saved: the recordings can't be reached.";
}

constexpr const char* notEncodableSentence =
    "The change was not saved: it holds a number or a text that can't be stored.";

}  // namespace

Toast::~Toast() {
  if (timer_) timer_->invalidate();
}

void Toast::invert() {
  if (flag_.get()) {
    hide();
    return;
  }
  timer_ = runLoop_.scheduledTimerWithTimeInterval(duration, TimerRepeats::no,
                                                   [this](const TimerRef&) { hide(); });
  flag_.set(true);
}

void Toast::hide() {
  if (timer_) timer_->invalidate();
  timer_.reset();
  flag_.set(false);
}

RecordingLibrary::RecordingLibrary(LibraryState& state, CaptureState& captureState,
                                   PlaybackState& playbackState, DefaultsStore& store,
                                   RunLoop& runLoop, Trace& trace)
    : state_(state),
      captureState_(captureState),
      playbackState_(playbackState),
      trace_(trace),
      stored_(store),
      toastSaved_(state.showToastSaved, runLoop),
      toastLoaded_(state.showToastLoaded, runLoop),
      listRead_(stored_.onRead([this](const List& list) {
        showRows(list);
        showTitles(list);
      })),
      writtenByOthers_(stored_.onWrittenByOthers([this] {
        if (state_.showingSavedRecordings.get()) stored_.list();
      })) {}

std::span<const RecordingLibrary::RowMenuItem> RecordingLibrary::rowMenu() {
  static constexpr RowMenuItem items[] = {
      {"Load Recording",
       [](RecordingLibrary& library, std::size_t row) {
         library.loadSavedRecording(LoadVariant::contextMenu, row);
       }},
  };
  return items;
}

void RecordingLibrary::toggleSidebar() {
  trace_.writeLine("Toggle Sidebar");
  if (!state_.showingSavedRecordings.get()) {
    stored_.list();
    showSidebar();
    return;
  }
  state_.showingSavedRecordings.set(false);
  state_.savedRecordingWidth.set(0);
  state_.savedRecordingHeight.set(0);
}

void RecordingLibrary::saveRecording() {
  trace_.writeLine("Save recording");
  const EventLog& log = captureState_.eventLog;
  if (log.empty()) {
    trace_.writeLine("No recording found.");
    playbackState_.showingPlayAlert.set(true);
    return;
  }
  if (!state_.showingSavedRecordings.get()) showSidebar();
  const Recording recording = makeRecording(*log.events());
  printLengths(recording, log.size());
  printModifiers(recording);
  if (!report(stored_.append(recording))) return;
  printList();
  toastSaved_.invert();
}

void RecordingLibrary::loadSavedRecording(LoadVariant variant, std::size_t row) {
  auto recording = stored_.recording(row);
  if (!recording) return;
  if (variant == LoadVariant::button) trace_.writeLine("Load Recording");
  load(std::move(*recording));
  printLoading();
  const bool isLongEnough = takeRecordingTime();
  if (isLongEnough || variant == LoadVariant::contextMenu) toastLoaded_.invert();
}

void RecordingLibrary::renameSavedRecording(std::size_t row) {
  if (row >= stored_.shown().size()) return;
  if (report(stored_.rename(row, state_.rows[row].selectedRecordingName))) {
    trace_.writeLine("Saving name.");
  } else {
    rowAppeared(row);
  }
}

void RecordingLibrary::deleteSavedRecording(std::size_t row) {
  trace_.writeLine("Delete Recording");
  if (row >= stored_.shown().size()) return;
  if (!report(stored_.remove(row))) return;
  const List& list = stored_.list();
  printTitles(list);
  for (std::size_t i = 0; i < state_.rows.size(); ++i) state_.rows.setName(i, "");
  printNames();
  showTitles(list);
  printNames();
}

void RecordingLibrary::rowAppeared(std::size_t row) {
  const List& list = stored_.list();
  if (row < list.size()) state_.rows.setName(row, list[row].title);
}

std::string RecordingLibrary::dragRecording(std::size_t row) {
  if (row >= stored_.shown().size()) return {};
  std::string text = stored_.shown()[row].uniqueID.text();
  trace_.writeLine(text);
  state_.droppedRecordingUUIDString.set(text);
  return text;
}

void RecordingLibrary::dropRecording() {
  const std::string& dropped = state_.droppedRecordingUUIDString.get();
  trace_.writeLine(dropped);
  captureState_.recordingType.set(recording_type::saved);
  const List& list = stored_.list();
  std::optional<std::size_t> match;
  for (std::size_t i = 0; i < list.size(); ++i) {
    const std::string text = list[i].uniqueID.text();
    trace_.writeLine(text);
    if (text == dropped) match = i;
  }
  if (match) {
    if (auto recording = stored_.recording(*match)) load(std::move(*recording));
  }
  takeRecordingTime();
  toastLoaded_.invert();
}

void RecordingLibrary::dismissStoreAlert() {
  trace_.writeLine("Dismiss button pressed.");
  state_.storeAlert.set("");
}

void RecordingLibrary::showSidebar() {
  state_.showingSavedRecordings.set(true);
  state_.savedRecordingWidth.set(sidebarWidth);
  state_.savedRecordingHeight.set(sidebarHeight);
}

void RecordingLibrary::load(Recording recording) {
  captureState_.recordingType.set(recording_type::saved);
  playbackState_.loadedRecording = std::move(recording);
}

bool RecordingLibrary::takeRecordingTime() {
  const Recording& loaded = playbackState_.loadedRecording;
  // The columns of a stored recording may differ in length.
  if (loaded.modifierArray.size() < 2 || loaded.timestampArray.empty()) return false;
  captureState_.recordingTime = loaded.timestampArray.back() - loaded.timestampArray.front();
  return true;
}

bool RecordingLibrary::report(const StoredRecordings::Change& change) {
  if (change.outcome == Outcome::notEncodable) {
    state_.storeAlert.set(notEncodableSentence);
  } else if (change.outcome == Outcome::refused) {
    state_.storeAlert.set(storeSentence(change.status));
  }
  showRows(stored_.list());
  return change.outcome == Outcome::stored;
}

// The long lines of the trace.

void RecordingLibrary::printLengths(const Recording& recording, std::size_t eventCount) {
  trace_.writeNumber(eventCount);
  trace_.writeNumber(recording.typeArray.size());
  trace_.writeNumber(recording.timestampArray.size());
  trace_.writeNumber(recording.locXArray.size());
  trace_.writeNumber(recording.locYArray.size());
  trace_.writeNumber(recording.scrollingDeltaXArray.size());
  trace_.writeNumber(recording.charArray.size());
  trace_.writeNumber(recording.modifierArray.size());
}

void RecordingLibrary::printModifiers(const Recording& recording) {
  trace_.writeLine([&] {
    BracketedList modifiers;
    for (const std::string& element : recording.modifierArray) modifiers.append(element);
    return modifiers;
  });
}

void RecordingLibrary::printList() {
  // The stored text has every field of the list.
  trace_.writeLine([this] { return stored_.text(); });
}

void RecordingLibrary::printLoading() {
  trace_.writeLine([this] {
    return "Loading Recording" + encodeRecording(playbackState_.loadedRecording).value_or("");
  });
}

void RecordingLibrary::printTitles(const List& list) {
  if (!trace_.hasReader()) return;
  BracketedList titles;
  for (std::size_t i = 0; i < list.size(); ++i) {
    trace_.writeLine(list[i].title);
    titles.append(list[i].title);
    trace_.writeLine(std::string_view(titles));
  }
}

void RecordingLibrary::printNames() {
  trace_.writeLine([this] {
    BracketedList list;
    for (std::size_t i = 0; i < state_.rows.size(); ++i) {
      list.append(state_.rows[i].selectedRecordingName);
    }
    return list;
  });
}

void RecordingLibrary::showRows(const List& list) {
  state_.rows.growTo(list.size());
  state_.rowCount.set(list.size());
}

void RecordingLibrary::showTitles(const List& list) {
  for (std::size_t i = 0; i < list.size(); ++i) state_.rows.setName(i, list[i].title);
}

}  // namespace tapeloop
