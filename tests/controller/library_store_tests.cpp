// The saved recordings on a store that fails, that holds something else, or that somebody else
// writes to.
#include <cmath>
#include <functional>
#include <set>

#include "controller/library_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

constexpr StoreStatus failures[] = {StoreStatus::readOnly, StoreStatus::diskFull,
                                    StoreStatus::locked, StoreStatus::damaged,
                                    StoreStatus::unavailable};

TEST_F(LibraryTest, ARefusedChangeRaisesAnAlertAndChangesNothing) {
  store({"a", "b"});
  openSidebar();
  const auto before = stored();
  capture({move(1), move(2)});
  const std::function<void()> changes[] = {[this] { library().saveRecording(); },
                                           [this] { rename(1, "other"); },
                                           [this] { library().deleteSavedRecording(0); }};
  std::set<std::string> sentences;
  for (const StoreStatus failure : failures) {
    desktop.defaults.setStatus(failure);
    for (const auto& change : changes) {
      change();
      sentences.insert(state().storeAlert.get());
      EXPECT_THAT(lines(), Not(Contains("Saving name.")));
      library().dismissStoreAlert();
      EXPECT_THAT(lines(), ElementsAre("Dismiss button pressed."));
      EXPECT_EQ(state().storeAlert.get(), "");
      EXPECT_THAT(shownNames(), ElementsAre("a", "b"));
      EXPECT_FALSE(state().showToastSaved.get());
      EXPECT_EQ(stored(), before);
    }
  }
  EXPECT_EQ(sentences.size(), std::size(failures)) << "one each, whatever the change";
  EXPECT_FALSE(sentences.contains(""));

  desktop.defaults.setStatus(StoreStatus::stored);
  rename(1, "other");
  library().saveRecording();
  EXPECT_THAT(storedTitles(), ElementsAre("a", "other", "New Recording"));
  EXPECT_TRUE(state().showToastSaved.get());
}

TEST_F(LibraryTest, AnUnreadableListIsKeptAside) {
  std::string oneMemberShort = listText({makeRecording({move(1)})});
  oneMemberShort.replace(oneMemberShort.find("charArray"), 4, "Char");
  std::string key = "recordingListUnreadable";
  int number = 1;
  for (const DefaultsValue& unreadable :
       {DefaultsValue("no json"), DefaultsValue(oneMemberShort), DefaultsValue(std::int64_t{5})}) {
    storeText(unreadable);
    open();
    openSidebar();
    EXPECT_EQ(state().rowCount.get(), 0u);
    capture({move(1), move(2)});
    desktop.defaults.setStatus(StoreStatus::diskFull);
    library().saveRecording();
    EXPECT_EQ(desktop.defaults.objectForKey("recordingList"), unreadable);
    EXPECT_FALSE(desktop.defaults.objectForKey(key));
    desktop.defaults.setStatus(StoreStatus::stored);
    library().saveRecording();
    library().saveRecording();
    EXPECT_EQ(desktop.defaults.objectForKey(key), unreadable);
    EXPECT_THAT(storedTitles(), ElementsAre("New Recording", "New Recording"));
    key = "recordingListUnreadable" + std::to_string(++number);
    EXPECT_FALSE(desktop.defaults.objectForKey(key)) << "once each";
  }
}

TEST_F(LibraryTest, AFailedReadingIsTriedAgain) {
  store({"a", "b"});
  desktop.defaults.setReadStatus(StoreStatus::unavailable);
  openSidebar();
  EXPECT_EQ(state().rowCount.get(), 0u);
  capture({move(1), move(2)});
  library().saveRecording();
  EXPECT_NE(state().storeAlert.get(), "");
  desktop.defaults.setReadStatus(StoreStatus::stored);
  library().saveRecording();
  EXPECT_THAT(shownNames(), ElementsAre("a", "b", "New Recording"));
}

TEST_F(LibraryTest, WhatCannotBeEncodedIsNotWritten) {
  store({"a"});
  openSidebar();
  const auto writes = desktop.defaults.writes("recordingList");
  InputEvent nowhere = move(1);
  nowhere.locationInWindow.x = std::nan("");
  capture({nowhere});
  library().saveRecording();
  EXPECT_NE(state().storeAlert.get(), "");
  EXPECT_FALSE(state().showToastSaved.get());
  library().dismissStoreAlert();
  rename(0, "\xff");
  EXPECT_NE(state().storeAlert.get(), "");
  EXPECT_THAT(shownNames(), ElementsAre("a"));
  EXPECT_EQ(desktop.defaults.writes("recordingList"), writes);
}

TEST_F(LibraryTest, TwoWindowsSeeWhatEitherDoes) {
  store({"a", "b"});
  openSidebar();
  ContentView other(desktop.services(), settings);
  other.listButtonPressed();
  capture({move(1), move(2)});
  library().saveRecording();
  EXPECT_EQ(other.libraryState().rowCount.get(), 3u);
  other.library().deleteSavedRecording(0);
  EXPECT_THAT(shownNames(), ElementsAre("b", "New Recording"));
}

TEST_F(LibraryTest, RowsActOnTheEntriesThatTheyShow) {
  store({"a", "b", "c"});
  openSidebar();
  const std::vector<Recording> all = stored();
  const auto writeElsewhere = [this](const std::vector<Recording>& theirs) {
    desktop.defaults.writeElsewhere(listText(theirs), "recordingList");
  };
  writeElsewhere({all[1], all[2]});
  library().deleteSavedRecording(1);
  EXPECT_THAT(storedTitles(), ElementsAre("c"));
  EXPECT_THAT(shownNames(), ElementsAre("c"));

  writeElsewhere({all[0]});
  rename(0, "mine");
  EXPECT_THAT(storedTitles(), ElementsAre("a")) << "the entry that was shown is gone";
  EXPECT_THAT(shownNames(), ElementsAre("a"));

  writeElsewhere({all[1], all[0]});
  capture({move(1), move(2)});
  library().saveRecording();
  EXPECT_THAT(storedTitles(), ElementsAre("b", "a", "New Recording"));
  EXPECT_THAT(shownNames(), ElementsAre("b", "a", "New Recording"));
}

TEST_F(LibraryTest, ForeignWritesOfOtherKeysLeaveTheRows) {
  store({"a"});
  openSidebar();
  rows().setName(0, "being typed");
  desktop.defaults.writeElsewhere(true, "key");
  capture({move(1), move(2)});
  library().saveRecording();
  EXPECT_EQ(rows()[0].selectedRecordingName, "being typed");
}

}  // namespace
}  // namespace tapeloop
