// Single runs, started without the controller that repeats them.
#include "playback/playback_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::FieldsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

using PlaybackSchedulerTest = PlaybackTest;

TEST_F(PlaybackSchedulerTest, DividesTheRecordedDistancesByTheSpeed) {
  load({move(10), move(10.5), move(12)});
  capture.recordingTime = 99;
  scheduler->playRecording();
  EXPECT_THAT(lines(), ElementsAre("0", "1", "2"));
  EXPECT_EQ(capture.recordingTime, 2.0);
  EXPECT_EQ(state.timerArray.size(), 3u);
  advance(10);
  desktop.runLoop.setStartDate(1'709'164'780.2504);
  log({move(10), move(10.5), keyDown(12, 1)});
  playbackSpeed.set(2);
  scheduler->playRecording();
  EXPECT_EQ(lines().front(), "Date Interval: 2024-02-29T00:00:00.250Z to 2024-02-29T00:00:02.250Z");
  EXPECT_EQ(capture.recordingTime, 2.0);
  advance(10);
  EXPECT_THAT(postingTimes(), ElementsAre(0.0, 0.5, 2.0, 10.0, 10.25, 11.0));
}

TEST_F(PlaybackSchedulerTest, PostsEventsOlderThanTheFirstAtOnceInOrder) {
  log({keyDown(10, 1), keyDown(8, 2), keyDown(9, 3), keyDown(11, 4)});
  scheduler->playRecording();
  advance(5);
  const auto keyAt = [](double time, std::uint16_t code) {
    return FieldsAre(time, Field(&SyntheticEvent::keyCode, code));
  };
  EXPECT_THAT(desktop.eventSynthesis.posted(),
              ElementsAre(keyAt(0, 1), keyAt(0, 2), keyAt(0, 3), keyAt(1, 4)));
}

TEST_F(PlaybackSchedulerTest, ReadsNoColumnPastItsEnd) {
  load({leftDown(1), move(2), move(3), leftUp(4)});
  state.loadedRecording.locXArray.resize(2);
  scheduler->playRecording();
  advance(10);
  EXPECT_THAT(postingTimes(), ElementsAre(0.0, 1.0));

  state.loadedRecording.timestampArray.resize(1);
  scheduler->playRecording();
  EXPECT_EQ(capture.recordingTime, 0);
  EXPECT_THAT(lines(), ElementsAre("0", "1", "2", "3", "0"));

  capture.recordingTime = 3;
  state.loadedRecording.timestampArray.clear();
  scheduler->playRecording();
  EXPECT_THAT(lines(), IsEmpty());
  EXPECT_EQ(capture.recordingTime, 3);
}

// Only the timers of the latest run can be cancelled.
TEST_F(PlaybackSchedulerTest, AnEarlierRunGoesOnWhenPlaybackIsStopped) {
  capture.isPlaying.set(true);
  log({keyDown(0, 1), keyUp(10, 1)});
  scheduler->playRecording();
  advance(1);
  load({move(0), move(10)});
  scheduler->playRecording();
  scheduler->stopPlayback();
  EXPECT_TRUE(holding()) << "the first run still has the key to release";
  advance(20);
  EXPECT_THAT(posted(), ElementsAre(Pair(EventType::keyDown, 0), Pair(EventType::keyUp, 10)));
  EXPECT_FALSE(holding());
  EXPECT_THAT(desktop.eventSynthesis.released(), IsEmpty());
}

TEST_F(PlaybackSchedulerTest, ShowsTheHintWhilePlayingIfItCan) {
  capture.isPlaying.set(true);
  EXPECT_EQ(desktop.windows.visibleWindows(), 1u);
  EXPECT_EQ(desktop.windows.records().at(0)->topLeft, (Point{630, 900}));
  capture.isPlaying.set(false);
  EXPECT_EQ(desktop.windows.visibleWindows(), 0u);
  EXPECT_NE(state.ESCwindow, nullptr) << "a closed window is kept";
  capture.isPlaying.set(true);
  EXPECT_EQ(desktop.windows.records().size(), 2u);
  EXPECT_EQ(desktop.windows.visibleWindows(), 1u);
  EXPECT_THAT(lines(), ElementsAre("isPlaying", "isPlaying", "isPlaying"));

  capture.isPlaying.set(false);
  desktop.windows.refuseWindows();
  log({move(0), move(1)});
  capture.isPlaying.set(true);
  scheduler->playRecording();
  scheduler->stopPlayback();
  EXPECT_FALSE(playing());
}

TEST_F(PlaybackSchedulerTest, PostsNothingMoreOnceDestroyed) {
  log({keyDown(0, 1), keyUp(10, 1)});
  scheduler->playRecording();
  advance(1);
  scheduler->playRecording();  // the timers of the first run are not in the state any more
  advance(1);
  controller.reset();
  scheduler.reset();
  EXPECT_FALSE(holding());
  EXPECT_EQ(desktop.eventSynthesis.released().size(), 1u);
  const std::size_t before = posted().size();
  advance(20);
  EXPECT_EQ(posted().size(), before);
  capture.isPlaying.set(true);
  EXPECT_THAT(desktop.windows.records(), IsEmpty());
}

}  // namespace
}  // namespace tapeloop
