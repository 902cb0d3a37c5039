#include <algorithm>
#include <limits>

#include "playback/playback_fixture.h"
#include "playback/repeat_controller.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

using RepeatControllerTest = PlaybackTest;

TEST_F(RepeatControllerTest, TheButtonPlaysOneRunThatReleasesItsKeyItselfWithTheseLines) {
  load({keyDown(0, 7), keyUp(10, 7)});
  playCount.set(9);
  play();
  EXPECT_TRUE(playing());
  EXPECT_THAT(lines(),
              ElementsAre("play button pressed", "Wait 5 seconds", "isPlaying", "repeatTimer",
                          "repeating now", "Play button pressed", "0", "playingTimer", "0", "1"));
  advance(9.999);
  EXPECT_TRUE(playing());
  advance(100);
  EXPECT_THAT(lines(), ElementsAre("stopped playing", "1", "isPlaying"));
  EXPECT_FALSE(playing());
  EXPECT_EQ(playCount.get(), 1);
  EXPECT_THAT(postingTimes(), ElementsAre(0.0, 10.0));
  EXPECT_THAT(desktop.eventSynthesis.released(), IsEmpty());
  EXPECT_FALSE(holding());
}

TEST_F(RepeatControllerTest, TheShortcutPlaysOneRunWithTheseLines) {
  log({move(0), move(10)});
  playbackSpeed.set(4);
  playByShortcut();
  EXPECT_THAT(
      lines(),
      ElementsAre("play shortcut pressed", "isPlaying", "repeatTimer", "4.0", "repeating now",
                  "Play button pressed", "playingTimer",
                  "Date Interval: 1970-01-01T00:00:00.000Z to 1970-01-01T00:00:10.000Z", "0", "1"));
  advance(2.5);
  EXPECT_FALSE(playing());
  lines();
  playbackSpeed.set(1.5);
  playByShortcut();
  const Lines second = lines();
  EXPECT_EQ(second.at(2), "Timer after 2.5 s, invalid") << "the cycle timer of the last playback";
  EXPECT_EQ(second.at(3), "1.5");
}

TEST_F(RepeatControllerTest, RunsRepeatWithTheWaitBetweenThem) {
  load({move(0), move(10)});
  playbackSpeed.set(2);
  repeatPlayback.set(true);
  timesToRepeat.set(3.0);
  waitBeforeRepeating.set(true);
  play();
  advance(24.9);
  EXPECT_TRUE(playing());
  lines();
  advance(0.1);
  // The last event is due together with the end of the run, which comes first and cancels it.
  EXPECT_THAT(lines(),
              ElementsAre("stopped playing", "3", "STOP!!!", "0", "2", "0", "1", "isPlaying"));
  EXPECT_THAT(postingTimes(), ElementsAre(0.0, 5.0, 10.0, 15.0, 20.0));
  EXPECT_EQ(playCount.get(), 0);
  EXPECT_FALSE(playing());
  advance(100);
  EXPECT_THAT(lines(), IsEmpty());
  EXPECT_EQ(desktop.runLoop.timers().size(), 0u);
}

TEST_F(RepeatControllerTest, OnlyTheIntegerPartOfTheNumberOfRunsCounts) {
  load({move(0), move(1)});
  repeatPlayback.set(true);
  waitBeforeRepeating.set(true);
  waittimenumber.set(1);
  const auto runs = [&](double times) {
    timesToRepeat.set(times);
    lines();
    play();
    advance(50.5);
    const bool stopped = !playing();
    if (!stopped) escape();
    advance(2);
    const Lines trace = lines();
    EXPECT_EQ(std::count(trace.begin(), trace.end(), "STOP!!!"), stopped ? 1 : 0) << times;
    return stopped ? std::count(trace.begin(), trace.end(), "stopped playing") : 0;
  };
  EXPECT_EQ(runs(3.9), 3);
  EXPECT_EQ(runs(1.0), 1);
  EXPECT_EQ(runs(0.0), 0) << "unlimited";
  EXPECT_EQ(runs(0.5), 0);
  EXPECT_EQ(runs(-1), 0);
  EXPECT_EQ(runs(1e300), 0);
  EXPECT_EQ(runs(std::numeric_limits<double>::infinity()), 0);
  EXPECT_EQ(runs(std::numeric_limits<double>::quiet_NaN()), 0);
}

// Without a wait the next cycle is due together with the end of the run, and comes first.
TEST_F(RepeatControllerTest, TheCycleAfterTheLastRunIsCutShortBeforeItPostsAnything) {
  load({keyDown(0, 1), keyUp(1, 1)});
  repeatPlayback.set(true);
  timesToRepeat.set(3);
  play();
  advance(3);
  EXPECT_FALSE(playing());
  advance(100);
  EXPECT_THAT(postingTimes(), ElementsAre(0.0, 1.0, 1.0, 2.0, 2.0, 3.0));
  EXPECT_FALSE(holding());
  EXPECT_EQ(desktop.runLoop.timers().size(), 0u);
}

TEST_F(RepeatControllerTest, ASingleRunThatReachesTheCountResetsIt) {
  load({move(0), move(1)});
  timesToRepeat.set(1.0);
  play();
  lines();
  advance(1);
  EXPECT_THAT(lines(),
              ElementsAre("stopped playing", "1", "STOP!!!", "0", "2", "0", "1", "isPlaying"));
  EXPECT_EQ(playCount.get(), 0);
}

TEST_F(RepeatControllerTest, TheWaitIsWorkedOutFromItsNumberAndUnit) {
  load({move(0), move(1)});
  waittimenumber.set(2);
  const auto wait = [&](bool before, const char* unit) {
    waitBeforeRepeating.set(before);
    waittimeunit.set(unit);
    play();
    return state.waitTime;
  };
  EXPECT_EQ(wait(true, "seconds"), 2);
  EXPECT_EQ(wait(true, "minutes"), 120);
  EXPECT_EQ(wait(true, "hours"), 7200);
  EXPECT_EQ(wait(true, "days"), 7200) << "an unknown unit keeps the wait as it was";
  EXPECT_EQ(wait(false, "hours"), 0);
}

TEST_F(RepeatControllerTest, PlayDuringARepeatingPlaybackRestartsTheCount) {
  load({move(0), move(1)});
  repeatPlayback.set(true);
  timesToRepeat.set(3);
  play();
  advance(2.5);
  EXPECT_EQ(playCount.get(), 2);
  const TimerRef cycle = state.repeatTimer;
  lines();
  play();
  EXPECT_THAT(lines(), ElementsAre("play button pressed", "Wait 5 seconds"));
  EXPECT_EQ(state.repeatTimer, cycle);
  advance(2);
  EXPECT_TRUE(playing());
  advance(1);
  EXPECT_FALSE(playing());
  EXPECT_EQ(desktop.runLoop.now(), 5.5);
}

TEST_F(RepeatControllerTest, NothingToPlayRaisesTheAlertAndNothingElse) {
  const auto refuses = [&] {
    playCount.set(4);
    state.showingPlayAlert.set(false);
    play();
    return state.showingPlayAlert.get() && playCount.get() == 0 && !playing();
  };
  EXPECT_TRUE(refuses());
  capture.recordingType.set("unsaved");
  EXPECT_TRUE(refuses());
  load({});
  EXPECT_TRUE(refuses());
  EXPECT_THAT(lines(), IsEmpty());
  EXPECT_EQ(state.repeatTimer, nullptr);
}

TEST_F(RepeatControllerTest, ASingleEventPlaysNothingForTheDurationThatIsKnown) {
  load({move(5)});
  capture.recordingTime = 2;
  play();
  EXPECT_TRUE(playing());
  advance(1.9);
  EXPECT_TRUE(playing());
  advance(0.1);
  EXPECT_FALSE(playing());
  EXPECT_THAT(posted(), IsEmpty());
}

TEST_F(RepeatControllerTest, EscapeLeavesTheEndOfTheRunToBeCounted) {
  load({move(0), move(10)});
  repeatPlayback.set(true);
  timesToRepeat.set(0);
  play();
  advance(15);
  escape();
  lines();
  advance(100);
  EXPECT_THAT(lines(), ElementsAre("stopped playing", "1"));
  EXPECT_EQ(playCount.get(), 1);
  EXPECT_FALSE(playing());
}

TEST_F(RepeatControllerTest, EscapeInADragLeavesNoButtonDown) {
  load({leftDown(0), drag(1), drag(2), leftUp(3)});
  play();
  advance(1.5);
  EXPECT_THAT(desktop.eventSynthesis.heldButtons(), ElementsAre(MouseButton::left));
  escape();
  EXPECT_THAT(desktop.eventSynthesis.heldButtons(), IsEmpty());
  ASSERT_EQ(desktop.eventSynthesis.released().size(), 1u);
  EXPECT_EQ(desktop.eventSynthesis.released()[0].event.type, EventType::leftMouseUp);
  advance(10);
  EXPECT_EQ(posted().size(), 2u);
}

TEST_F(RepeatControllerTest, AKeyStaysDownFromRunToRunUntilPlaybackEnds) {
  load({keyDown(0, 7), move(1)});
  repeatPlayback.set(true);
  timesToRepeat.set(2);
  waitBeforeRepeating.set(true);
  play();
  advance(3);
  EXPECT_THAT(desktop.eventSynthesis.heldKeys(), ElementsAre(7));
  advance(20);
  EXPECT_FALSE(playing());
  EXPECT_THAT(desktop.eventSynthesis.heldKeys(), IsEmpty());
}

TEST_F(RepeatControllerTest, WhileCaptureRunsNoRunStartsButTheCountGoesOn) {
  load({move(0), move(1)});
  repeatPlayback.set(true);
  timesToRepeat.set(3);
  play();
  advance(0.5);
  capture.isRecording.set(true);
  advance(2.5);
  EXPECT_FALSE(playing());
  EXPECT_THAT(postingTimes(), ElementsAre(0.0, 1.0));
}

TEST_F(RepeatControllerTest, ARecordingWithoutDurationRepeatsEveryTenMilliseconds) {
  load({move(5), move(5)});
  repeatPlayback.set(true);
  timesToRepeat.set(0);
  play();
  advance(0.095);
  escape();
  EXPECT_EQ(posted().size(), 20u);

  load({move(5), move(5)});
  waitBeforeRepeating.set(true);
  waittimenumber.set(-3);
  const double start = desktop.runLoop.now();
  play();
  advance(0.025);
  EXPECT_EQ(posted().size(), 26u) << "runs since " << start;
}

TEST_F(RepeatControllerTest, ASpeedThatCannotBeDividedByPlaysAtOne) {
  load({move(0), move(2)});
  for (const double speed : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN(),
                             std::numeric_limits<double>::infinity()}) {
    SCOPED_TRACE(speed);
    playbackSpeed.set(speed);
    const double start = desktop.runLoop.now();
    play();
    advance(1.999);
    EXPECT_TRUE(playing());
    advance(0.001);
    EXPECT_FALSE(playing());
    EXPECT_EQ(postingTimes().back() - start, 2);
  }
}

TEST_F(RepeatControllerTest, TurningRepeatingOffEndsPlaybackWithTheCurrentRun) {
  load({move(0), move(1)});
  repeatPlayback.set(true);
  play();
  advance(0.5);
  repeatPlayback.set(false);
  advance(0.5);
  EXPECT_FALSE(playing());
  lines();
  advance(100);
  EXPECT_THAT(lines(), Not(Contains("repeating now")));
}

// The end of a run that Escape cut short comes later, and may end the playback that is on by then.
TEST_F(RepeatControllerTest, PlaybackThatAnEarlierRunEndsStartsNoFurtherRuns) {
  load({move(0), move(10)});
  repeatPlayback.set(true);
  timesToRepeat.set(1);
  play();
  advance(1);
  escape();
  advance(1);
  play();
  advance(8);
  EXPECT_FALSE(playing());
  advance(3);
  lines();
  advance(100);
  EXPECT_THAT(lines(), IsEmpty());
}

}  // namespace
}  // namespace tapeloop
