#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "controller/library_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::ElementsAre;
using ::testing::FieldsAre;

/// `count` texts as they are printed, empty but for the first ones.
std::string bracketed(const std::vector<std::string>& first, std::size_t count) {
  std::string text = "[";
  for (std::size_t i = 0; i < count; ++i) {
    text += (i > 0 ? ", \"" : "\"") + (i < first.size() ? first[i] : std::string()) + '"';
  }
  return text + ']';
}

TEST_F(LibraryTest, SavingNothingRaisesTheAlert) {
  library().saveRecording();
  EXPECT_THAT(lines(), ElementsAre("Save recording", "No recording found."));
  EXPECT_TRUE(view->playbackState().showingPlayAlert.get());
  EXPECT_FALSE(state().showingSavedRecordings.get());
  EXPECT_FALSE(state().showToastSaved.get());
  EXPECT_FALSE(desktop.defaults.objectForKey("recordingList"));
}

TEST_F(LibraryTest, EachSaveStoresAnEntryOfItsOwn) {
  capture({keyDown(1, 7, modifier_flag::shift | modifier_flag::command), keyUp(2, 7), move(3)});
  library().saveRecording();
  ASSERT_EQ(stored().size(), 1u);
  EXPECT_THAT(lines(), ElementsAre("Save recording", "3", "3", "3", "3", "3", "3", "3", "3",
                                   "[\".shift.command\", \"\", \"\"]", listText(stored())));
  EXPECT_THAT(stored()[0].charArray, ElementsAre(7, 7, 0));
  EXPECT_EQ(sidebar(), std::tuple(true, 280, 220, 1u));
  library().rowAppeared(0);
  EXPECT_THAT(shownNames(), ElementsAre("New Recording"));
  EXPECT_TRUE(state().showToastSaved.get());

  library().saveRecording();
  EXPECT_FALSE(state().showToastSaved.get());
  ASSERT_EQ(stored().size(), 2u);
  EXPECT_NE(stored()[0].uniqueID, stored()[1].uniqueID);
  EXPECT_EQ(view->captureState().eventLog.size(), 3u);
}

TEST_F(LibraryTest, TheSidebarReadsTheListOnceOnly) {
  store({"a", "b"});
  EXPECT_EQ(desktop.defaults.reads("recordingList"), 0u) << "the first frame does not wait for it";
  std::size_t reads = 0;
  for (const bool opens : {true, false, true}) {
    view->listButtonPressed();
    if (reads == 0) reads = desktop.defaults.reads("recordingList");
    EXPECT_EQ(sidebar(), std::tuple(opens, opens ? 280 : 0, opens ? 220 : 0, 2u));
  }
  EXPECT_EQ(desktop.defaults.reads("recordingList"), reads);
}

TEST_F(LibraryTest, LoadingShowsTheToastForTwoEvents) {
  store({"long"}, 3);
  openSidebar();
  const Recording record = stored()[0];
  library().loadSavedRecording(LoadVariant::button, 0);
  EXPECT_THAT(lines(),
              ElementsAre("Load Recording", "Loading Recording" + *encodeRecording(record)));
  EXPECT_EQ(view->playbackState().loadedRecording, record);
  EXPECT_EQ(view->captureState().recordingType.get(), "saved");
  EXPECT_EQ(view->captureState().recordingTime, 2);
  EXPECT_TRUE(state().showToastLoaded.get());
  library().tapToastLoaded();

  Recording withoutTimes = makeRecording({move(1), move(2)});
  withoutTimes.timestampArray.clear();
  for (const Recording& tooShort : {makeRecording({move(0)}), withoutTimes}) {
    storeText(listText({tooShort}));
    library().loadSavedRecording(LoadVariant::button, 0);
    EXPECT_EQ(view->playbackState().loadedRecording, tooShort);
    EXPECT_EQ(view->captureState().recordingTime, 2) << "keeps what it was";
    EXPECT_FALSE(state().showToastLoaded.get());
  }
  lines();
  RecordingLibrary::rowMenu()[0].choose(library(), 0);
  EXPECT_THAT(lines(), ElementsAre("Loading Recording" + *encodeRecording(stored()[0])));
  EXPECT_TRUE(state().showToastLoaded.get()) << "from the menu always";
}

TEST_F(LibraryTest, ADropLoadsTheRowThatWasDragged) {
  store({"a", "b", "c"});
  openSidebar();
  const auto list = stored();
  Lines ids;
  for (const Recording& recording : list) ids.push_back(recording.uniqueID.text());
  const Recording before = view->playbackState().loadedRecording;
  library().dropRecording();
  EXPECT_THAT(lines(), ElementsAre("", ids[0], ids[1], ids[2]));
  EXPECT_EQ(view->playbackState().loadedRecording, before) << "it came from elsewhere";
  EXPECT_EQ(view->captureState().recordingType.get(), "saved");
  EXPECT_TRUE(state().showToastLoaded.get());
  library().tapToastLoaded();

  EXPECT_EQ(library().dragRecording(2), ids[2]);
  library().dropRecording();
  EXPECT_THAT(lines(), ElementsAre(ids[2], ids[2], ids[0], ids[1], ids[2]));
  EXPECT_EQ(view->playbackState().loadedRecording, list[2]);
  EXPECT_EQ(view->captureState().recordingTime, 1);
  EXPECT_TRUE(state().showToastLoaded.get());
}

TEST_F(LibraryTest, RenamingStoresTheTextAsItStands) {
  store({"a", "b", "c"});
  openSidebar();
  for (const std::string name : {"", " \"x\"\n "}) {
    rename(1, name);
    EXPECT_THAT(lines(), ElementsAre("Saving name."));
    EXPECT_THAT(storedTitles(), ElementsAre("a", name, "c"));
  }
  rows().setName(2, "typed and left");
  library().rowAppeared(2);
  EXPECT_THAT(shownNames(), ElementsAre("a", " \"x\"\n ", "c"));
}

TEST_F(LibraryTest, DeletingMovesTheNamesUpAndNothingElse) {
  store({"a", "b", "c"});
  openSidebar();
  library().loadSavedRecording(LoadVariant::button, 0);
  rows().hoverRow(0, true);
  lines();
  library().deleteSavedRecording(0);
  EXPECT_THAT(lines(), ElementsAre("Delete Recording", "b", "[\"b\"]", "c", "[\"b\", \"c\"]",
                                   bracketed({}, 718), bracketed({"b", "c"}, 718)));
  EXPECT_THAT(storedTitles(), ElementsAre("b", "c"));
  EXPECT_THAT(shownNames(), ElementsAre("b", "c"));
  EXPECT_EQ(rows()[0].trashButtonOpacity, 1.0);
  library().deleteSavedRecording(1);
  library().deleteSavedRecording(0);
  lines();
  EXPECT_EQ(desktop.defaults.objectForKey("recordingList"), DefaultsValue("[]"));
  library().deleteSavedRecording(0);
  library().renameSavedRecording(0);
  library().loadSavedRecording(LoadVariant::button, 0);
  EXPECT_THAT(lines(), ElementsAre("Delete Recording"));
  EXPECT_EQ(view->playbackState().loadedRecording.title, "a");
}

TEST_F(LibraryTest, RowsFollowThePointer) {
  std::size_t notified = 0;
  const auto subscription = rows().subscribe([&](std::size_t row) { notified += row == 3; });
  const auto look = [&] {
    return std::tuple(rows()[3].loadButtonOpacity, rows()[3].trashButtonOpacity,
                      rows()[3].individualBackground);
  };
  constexpr Color hovered{1, 1, 1, 0.2};
  rows().hoverRow(3, true);
  rows().hoverRow(3, true);
  EXPECT_EQ(notified, 1u) << "of changes only";
  EXPECT_THAT(look(), FieldsAre(1.0, 1.0, hovered));
  for (const bool recording : {false, true}) {
    view->captureState().isRecording.set(recording);
    rows().hoverTrashButton(3, true);
    rows().hoverLoadButton(3, true);
    EXPECT_THAT(look(), FieldsAre(recording ? 1.0 : 0.75, recording ? 1.0 : 0.75, hovered));
  }
  EXPECT_TRUE(rows()[3].hoveringOverTrashButton && rows()[3].hoveringOverLoadButton);
  rows().hoverRow(3, false);
  EXPECT_THAT(look(), FieldsAre(1.0, 0.0, clearColor));
  rows().hoverTrashButton(3, false);
  EXPECT_EQ(rows()[3].shownTrashButtonOpacity(), 0) << "whichever of the two is left first";
  rows().focusTrashButton(3, true);
  EXPECT_EQ(rows()[3].shownTrashButtonOpacity(), 1);
}

TEST_F(LibraryTest, AThousandRowsActOnTheirOwnEntries) {
  std::vector<std::string> titles;
  for (int i = 0; i < 1000; ++i) titles.push_back(std::to_string(i));
  store(titles);
  openSidebar();
  for (const std::size_t row : {0u, 718u, 999u}) {
    library().rowAppeared(row);
    rows().hoverLoadButton(row, true);
    EXPECT_EQ(rows()[row].selectedRecordingName, std::to_string(row));
  }
  EXPECT_EQ(rows()[998].loadButtonOpacity, 1.0);
  for (const std::size_t row : {10u, 500u}) {
    library().deleteSavedRecording(row);
    titles.erase(titles.begin() + static_cast<std::ptrdiff_t>(row));
  }
  EXPECT_EQ(shownNames(), titles);
  titles[997] = "renamed";
  rename(997, "renamed");
  library().loadSavedRecording(LoadVariant::button, 700);
  EXPECT_EQ(view->playbackState().loadedRecording.title, titles[700]);
  EXPECT_EQ(storedTitles(), titles);
  EXPECT_EQ(rows()[999].loadButtonOpacity, 0.75);
  EXPECT_EQ(rows()[998].selectedRecordingName, "");
}

TEST_F(LibraryTest, AToastEndsAfterItsOwnTime) {
  State<bool> shown{false};
  std::optional<Toast> toast(std::in_place, shown, desktop.runLoop);
  toast->invert();
  advance(1);
  toast->invert();
  EXPECT_FALSE(shown.get());
  toast->invert();
  toast->tap();
  EXPECT_FALSE(shown.get());
  toast->invert();
  advance(1.19);
  EXPECT_TRUE(shown.get()) << "the end of an earlier showing must not end this one";
  advance(0.02);
  EXPECT_FALSE(shown.get());
  toast->invert();
  toast.reset();
  advance(2);
  EXPECT_TRUE(shown.get()) << "no timer acts for a toast that is gone";
}

}  // namespace
}  // namespace tapeloop
