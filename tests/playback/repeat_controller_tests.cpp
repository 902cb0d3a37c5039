#include <algorithm>
#include <limits>
#include <utility>

#include "playback/playback_fixture.h"
#include "playback/repeat_controller.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Limits = std::numeric_limits<double>;
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

TEST_F(RepeatControllerTest, RunsRepeatWithTheWaitBetweenThemUntilTheCountIsReached) {
  load({move(0), move(10)});
  playbackSpeed.set(2);
  repeat(3);
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

  repeatPlayback.set(false);
  timesToRepeat.set(1);
  play();
  lines();
  advance(5);
  EXPECT_THAT(lines(),
              ElementsAre("stopped playing", "1", "STOP!!!", "0", "2", "0", "1", "isPlaying"));
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
  for (const double unlimited : {0.0, 0.5, -1.0, 1e300, Limits::infinity(), Limits::quiet_NaN()}) {
    EXPECT_EQ(runs(unlimited), 0) << unlimited;
  }
}

TEST_F(RepeatControllerTest, TheWaitIsWorkedOutFromItsNumberAndUnit) {
  load({move(0), move(1)});
  waittimenumber.set(2);
  waitBeforeRepeating.set(true);
  // An unknown unit keeps the wait as it was.
  const std::pair<const char*, double> waits[] = {
      {"seconds", 2}, {"minutes", 120}, {"hours", 7200}, {"days", 7200}};
  for (const auto& [unit, seconds] : waits) {
    waittimeunit.set(unit);
    play();
    EXPECT_EQ(state.waitTime, seconds) << unit;
  }
  waitBeforeRepeating.set(false);
  play();
  EXPECT_EQ(state.waitTime, 0);
}

TEST_F(RepeatControllerTest, PlayDuringARepeatingPlaybackRestartsTheCount) {
  load({move(0), move(1)});
  repeat(3);
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
  for (const char* type : {"", recording_type::unsaved, recording_type::saved, "other"}) {
    capture.recordingType.set(type);
    playCount.set(4);
    state.showingPlayAlert.set(false);
    play();
    EXPECT_TRUE(state.showingPlayAlert.get()) << type;
    EXPECT_EQ(playCount.get(), 0) << type;
  }
  EXPECT_FALSE(playing());
  EXPECT_THAT(lines(), IsEmpty());
  EXPECT_EQ(state.repeatTimer, nullptr);
}

TEST_F(RepeatControllerTest, ASingleEventPlaysNothingForTheDurationThatIsKnown) {
  log({move(5)});
  load({move(5)});
  for (const char* type : {recording_type::unsaved, recording_type::saved}) {
    capture.recordingType.set(type);
    capture.recordingTime = 2;
    play();
    advance(1.9);
    EXPECT_TRUE(playing()) << type;
    advance(0.1);
    EXPECT_FALSE(playing()) << type;
  }
  EXPECT_THAT(posted(), IsEmpty());
  EXPECT_FALSE(state.showingPlayAlert.get());
}

// A run has the events of the log to itself, and reads those of a loaded recording as they come.
TEST_F(RepeatControllerTest, ARecordingThatIsEmptiedRaisesTheAlertWithTheNextRun) {
  repeat(0);
  const std::pair<const char*, std::size_t> postings[] = {{recording_type::unsaved, 2},
                                                          {recording_type::saved, 1}};
  for (const auto& [type, count] : postings) {
    log({move(0), move(1)});
    load({move(0), move(1)});
    capture.recordingType.set(type);
    const std::size_t before = posted().size();
    play();
    advance(0.5);
    capture.eventLog.clear();
    state.loadedRecording = {};
    EXPECT_FALSE(state.showingPlayAlert.get());
    advance(0.5);
    EXPECT_TRUE(state.showingPlayAlert.get()) << type;
    EXPECT_EQ(posted().size() - before, count) << type;
    state.showingPlayAlert.set(false);
    escape();
  }
}

TEST_F(RepeatControllerTest, EscapeCancelsTheRunLetsGoOfItsButtonAndLeavesItsEndToBeCounted) {
  log({move(0)});
  load({leftDown(0), drag(1), leftUp(3)});
  repeat(0);
  play();
  advance(4.5);
  EXPECT_THAT(desktop.eventSynthesis.heldButtons(), ElementsAre(MouseButton::left));
  lines();
  escape();
  EXPECT_THAT(lines(), ElementsAre("Escape Key Pressed", "1", "3", "0", "1", "2", "isPlaying"));
  EXPECT_FALSE(playing());
  EXPECT_EQ(playCount.get(), 0);
  EXPECT_THAT(desktop.eventSynthesis.heldButtons(), IsEmpty());
  ASSERT_EQ(desktop.eventSynthesis.released().size(), 1u);
  EXPECT_EQ(desktop.eventSynthesis.released()[0].event.type, EventType::leftMouseUp);
  escape();
  EXPECT_THAT(lines(), ElementsAre("Escape Key Pressed"));
  advance(100);
  EXPECT_THAT(lines(), ElementsAre("stopped playing", "1"));
  EXPECT_EQ(playCount.get(), 1);
  EXPECT_FALSE(playing());
  EXPECT_EQ(posted().size(), 5u);
}

TEST_F(RepeatControllerTest, AKeyStaysDownFromRunToRunUntilPlaybackEnds) {
  load({keyDown(0, 7), move(1)});
  repeat(2);
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
  repeat(3);
  play();
  advance(0.5);
  capture.isRecording.set(true);
  advance(2.5);
  EXPECT_FALSE(playing());
  EXPECT_THAT(postingTimes(), ElementsAre(0.0, 1.0));
}

TEST_F(RepeatControllerTest, ARecordingWithoutDurationRepeatsEveryTenMilliseconds) {
  load({move(5), move(5)});
  repeat(0);
  waittimenumber.set(-3);
  for (const bool waits : {false, true}) {
    waitBeforeRepeating.set(waits);
    const std::size_t before = posted().size();
    play();
    advance(0.095);
    escape();
    EXPECT_EQ(posted().size() - before, 20u) << waits;
  }
}

TEST_F(RepeatControllerTest, ASpeedThatCannotBeDividedByPlaysAtOne) {
  load({move(0), move(2)});
  for (const double speed : {0.0, -1.0, Limits::quiet_NaN(), Limits::infinity()}) {
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

TEST_F(RepeatControllerTest, TurningRepeatingOffOrOnHalfWayEndsPlaybackWithTheCurrentRun) {
  load({move(0), move(1)});
  for (const bool repeats : {true, false}) {
    const std::size_t before = posted().size();
    repeatPlayback.set(repeats);
    play();
    advance(0.5);
    repeatPlayback.set(!repeats);
    advance(0.5);
    EXPECT_FALSE(playing()) << repeats;
    lines();
    advance(100);
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_EQ(posted().size() - before, 2u) << "nothing that Escape could not stop";
  }
}

TEST_F(RepeatControllerTest, TheEndOfARunThatEscapeCutShortLeavesTheNextPlaybackAlone) {
  load({move(0), move(10)});
  for (const bool repeats : {false, true}) {
    repeatPlayback.set(repeats);
    timesToRepeat.set(1);
    play();
    advance(3);
    escape();
    advance(2);
    play();
    lines();
    advance(5);
    EXPECT_THAT(lines(), ElementsAre("stopped playing", "1", "STOP!!!"));
    EXPECT_TRUE(playing());
    EXPECT_EQ(desktop.windows.visibleWindows(), 1u);
    advance(5);
    EXPECT_FALSE(playing()) << "the count was reached, though by another run";
    advance(100);
  }
}

TEST_F(RepeatControllerTest, TheHintIsOnScreenBeforeTheRunBegins) {
  desktop.windows.onDisplay([&] { desktop.runLoop.stall(0.05); });
  load({move(0), move(0.01), move(1)});
  play();
  advance(5);
  EXPECT_THAT(postingTimes(), ElementsAre(0.05, 0.06, 1.05));
}

}  // namespace
}  // namespace tapeloop
