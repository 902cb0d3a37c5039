// The saved recordings on a store that fails, that holds something else, or that somebody else
// writes to.
#include <cmath>
#include <set>

#include "controller/library_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr StoreStatus failures[] = {StoreStatus::readOnly, StoreStatus::diskFull,
                                    StoreStatus::locked, StoreStatus::damaged,
                                    StoreStatus::unavailable};

TEST_F(LibraryTest, AChangeThatCannotBeStoredIsSaidAndLeavesWhatWasStored) {
  store({"a", "b"});
  openSidebar();
  const auto before = stored();
  capture({move(1), move(2)});
  std::set<std::string> sentences;
  for (const StoreStatus failure : failures) {
    desktop.defaults.setStatus(failure);
    library().saveRecording();
    EXPECT_FALSE(state().showToastSaved.get());
    EXPECT_EQ(state().rowCount.get(), 2u);
    sentences.insert(state().storeAlert.get());
    lines();
    library().dismissStoreAlert();
    EXPECT_THAT(lines(), ElementsAre("Dismiss button pressed."));
    EXPECT_EQ(state().storeAlert.get(), "");

    rename(1, "other");
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_THAT(shownNames(), ElementsAre("a", "b"));
    EXPECT_NE(state().storeAlert.get(), "");
    library().dismissStoreAlert();
    lines();
    library().deleteSavedRecording(0);
    EXPECT_THAT(lines(), ElementsAre("Delete Recording"));
    EXPECT_THAT(shownNames(), ElementsAre("a", "b"));
    EXPECT_NE(state().storeAlert.get(), "");
    EXPECT_EQ(stored(), before);
  }
  EXPECT_EQ(sentences.size(), std::size(failures));
  EXPECT_FALSE(sentences.contains(""));

  desktop.defaults.setStatus(StoreStatus::stored);
  rename(1, "other");
  library().saveRecording();
  EXPECT_THAT(storedTitles(), ElementsAre("a", "other", "New Recording"));
  EXPECT_TRUE(state().showToastSaved.get());
}

TEST_F(LibraryTest, AListThatCannotBeReadShowsNoRowsAndIsKeptAsideBeforeItIsReplaced) {
  Recording lacking = makeRecording({move(1)});
  std::string oneMemberShort = *encodeRecordings({&lacking, 1});
  oneMemberShort.replace(oneMemberShort.find("charArray"), 4, "Char");
  capture({move(1), move(2)});
  std::string key = "recordingListUnreadable";
  int number = 1;
  for (const DefaultsValue& unreadable :
       {DefaultsValue("no json"), DefaultsValue(oneMemberShort), DefaultsValue(std::int64_t{5})}) {
    storeText(unreadable);
    open();
    openSidebar();
    EXPECT_EQ(state().rowCount.get(), 0u);
    capture({move(1), move(2)});
    EXPECT_EQ(desktop.defaults.objectForKey("recordingList"), unreadable)
        << "reading changes nothing";
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

TEST_F(LibraryTest, TwoWindowsOnOneStoreSeeWhatEitherDoes) {
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

TEST_F(LibraryTest, WhatAnotherProcessHasSavedIsNotLost) {
  store({"a", "b", "c"});
  openSidebar();
  std::vector<Recording> theirs = stored();
  theirs.erase(theirs.begin());
  theirs.push_back(makeRecording({move(1)}));
  theirs.back().title = "theirs";
  desktop.defaults.writeElsewhere(*encodeRecordings(theirs), "recordingList");
  capture({move(1), move(2)});
  library().saveRecording();
  EXPECT_THAT(storedTitles(), ElementsAre("b", "c", "theirs", "New Recording"));
  EXPECT_THAT(shownNames(), ElementsAre("b", "c", "theirs", "New Recording"));
}

TEST_F(LibraryTest, ARowActsOnTheEntryThatItShowsWhateverAnotherProcessDid) {
  store({"a", "b", "c"});
  openSidebar();
  std::vector<Recording> theirs = stored();
  const Recording a = theirs[0];
  theirs.erase(theirs.begin());
  desktop.defaults.writeElsewhere(*encodeRecordings(theirs), "recordingList");
  library().deleteSavedRecording(1);
  EXPECT_THAT(storedTitles(), ElementsAre("c"));
  EXPECT_THAT(shownNames(), ElementsAre("c"));

  desktop.defaults.writeElsewhere(*encodeRecordings({&a, 1}), "recordingList");
  rename(0, "mine");
  EXPECT_THAT(storedTitles(), ElementsAre("a")) << "the entry that was shown is gone";
  EXPECT_THAT(shownNames(), ElementsAre("a"));
}

TEST_F(LibraryTest, WritesOfOtherKeysByAnotherProcessDoNotMakeTheRowsNew) {
  store({"a"});
  openSidebar();
  rows().selectedRecordingName.set(0, "being typed");
  desktop.defaults.writeElsewhere(true, "key");
  capture({move(1), move(2)});
  library().saveRecording();
  EXPECT_EQ(rows().selectedRecordingName.get(0), "being typed");
}

}  // namespace
}  // namespace tapeloop
