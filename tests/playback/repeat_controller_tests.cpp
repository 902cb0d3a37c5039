#include <algorithm>
#include <functional>
#include <limits>
#include <utility>

#include "playback/playback_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

using Limits = std::numeric_limits<double>;
using RepeatControllerTest = PlaybackTest;

TEST_F(RepeatControllerTest, TheButtonPlaysOneRunWithTheseLines) {
  load({keyDown(0, 7), keyUp(10, 7)});
  playCount.set(9);
  play();
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
  EXPECT_THAT(desktop.eventSynthesis.released(), IsEmpty())
      << "the run has released its key itself";
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

TEST_F(RepeatControllerTest, RepeatsWithTheWaitUntilTheCountIsReached) {
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
}

TEST_F(RepeatControllerTest, OnlyTheIntegerPartOfTheCountMatters) {
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
    EXPECT_EQ(std::ranges::count(trace, "STOP!!!"), stopped ? 1 : 0) << times;
    return stopped ? std::ranges::count(trace, "stopped playing") : 0;
  };
  EXPECT_EQ(runs(3.9), 3);
  EXPECT_EQ(runs(1.0), 1);
  for (const double unlimited : {0.0, 0.5, -1.0, 1e300, Limits::infinity(), Limits::quiet_NaN()}) {
    EXPECT_EQ(runs(unlimited), 0) << unlimited;
  }
}

TEST_F(RepeatControllerTest, TheWaitHasANumberAndAUnit) {
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

TEST_F(RepeatControllerTest, PlayDuringPlaybackRestartsTheCount) {
  load({move(0), move(1)});
  repeat(3);
  play();
  advance(2.5);
  EXPECT_EQ(playCount.get(), 2);
  const TimerRef cycle = state.repeatTimer;
  play();
  EXPECT_EQ(state.repeatTimer, cycle);
  advance(2);
  EXPECT_TRUE(playing());
  advance(1);
  EXPECT_FALSE(playing());
}

TEST_F(RepeatControllerTest, NothingToPlayRaisesTheAlertOnly) {
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

TEST_F(RepeatControllerTest, ASingleEventPlaysNothingForItsDuration) {
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

// A run keeps its own copy of a log, but reads the rows of a loaded recording as they are due.
TEST_F(RepeatControllerTest, AnEmptiedRecordingRaisesTheAlertInTheNextRun) {
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

TEST_F(RepeatControllerTest, EscapeCancelsTheRunAndReleasesItsButton) {
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
  ASSERT_EQ(desktop.eventSynthesis.released().size(), 1u);
  EXPECT_EQ(desktop.eventSynthesis.released()[0].event.type, EventType::leftMouseUp);
  escape();
  EXPECT_THAT(lines(), ElementsAre("Escape Key Pressed"));
  advance(100);
  EXPECT_THAT(lines(), ElementsAre("stopped playing", "1")) << "the end of the run still counts";
  EXPECT_EQ(playCount.get(), 1);
  EXPECT_FALSE(playing());
  EXPECT_EQ(posted().size(), 5u);
}

TEST_F(RepeatControllerTest, AKeyStaysDownUntilPlaybackEnds) {
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

TEST_F(RepeatControllerTest, DuringCaptureRunsCountWithoutPlaying) {
  load({move(0), move(1)});
  repeat(3);
  play();
  advance(0.5);
  capture.isRecording.set(true);
  advance(2.5);
  EXPECT_FALSE(playing());
  EXPECT_THAT(postingTimes(), ElementsAre(0.0, 1.0));
}

TEST_F(RepeatControllerTest, ARunWithoutDurationTakesTenMilliseconds) {
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

TEST_F(RepeatControllerTest, ASpeedThatIsNoDivisorPlaysAtOne) {
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

TEST_F(RepeatControllerTest, TurningRepeatingOnOrOffEndsWithTheRun) {
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

// The end of a run that Escape cut short comes while the next playback is active.
TEST_F(RepeatControllerTest, AnOldRunThatEndsDoesNotEndTheNextPlayback) {
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

TEST_F(RepeatControllerTest, TheHintIsShownBeforeTheRunBegins) {
  desktop.windows.onDisplay([&] { desktop.runLoop.stall(0.05); });
  load({move(0), move(0.01), move(1)});
  play();
  advance(5);
  EXPECT_THAT(postingTimes(), ElementsAre(0.05, 0.06, 1.05));
}

// Without a wait the next cycle is due together with the end of the run, and comes first.
TEST_F(RepeatControllerTest, TheCycleAfterTheLastRunPostsNothing) {
  load({keyDown(0, 1), keyUp(1, 1)});
  repeat(3);
  play();
  advance(3);
  EXPECT_FALSE(playing());
  advance(100);
  EXPECT_THAT(postingTimes(), ElementsAre(0.0, 1.0, 1.0, 2.0, 2.0, 3.0));
  EXPECT_FALSE(holding());
  EXPECT_EQ(desktop.runLoop.timers().size(), 0u);
}

// Rounded to nanoseconds, the last event must never be later than the tick that follows it.
TEST_F(RepeatControllerTest, NoTickIsSkippedAtAnyDurationOrLateness) {
  repeat(0);
  for (const double duration : {1.0 / 3, 0.1, 7.777777777777, 12345.6789}) {
    load({move(1e6 / 7), move(1e6 / 7 + duration)});
    for (int speed = 1; speed <= 10; ++speed) {
      playbackSpeed.set(speed);
      lines();
      play();
      for (int i = 0; i < 40; ++i) {
        advance(duration / speed / 2);
        desktop.runLoop.stall(0.0005);
      }
      escape();
      EXPECT_GE(std::ranges::count(lines(), "repeating now"), 20) << duration << " / " << speed;
      advance(duration);
    }
  }
}

// Otherwise runs would overlap, and Escape would cancel only the latest one.
TEST_F(RepeatControllerTest, ATickIsSkippedWhileARunHasEvents) {
  const std::vector<InputEvent> longer{move(0), move(2.25)};
  const std::function<void()> lengthenings[] = {
      [&] { load(longer); }, [&] { log(longer); }, [&] { playbackSpeed.set(1.0 / 2.25); },
      [&] {
        load({move(0), move(2.25), move(1)});
      },  // the last row is not the latest event
  };
  for (const auto& lengthen : lengthenings) {
    playbackSpeed.set(1);
    load({move(0), move(1)});
    repeat(0);
    play();
    advance(0.5);
    lengthen();
    advance(1);
    lines();
    const std::size_t before = posted().size();
    advance(1);
    EXPECT_THAT(lines(), Not(Contains("playingTimer")));
    EXPECT_LE(posted().size() - before, 1u);
    advance(2);  // the run that began after 1 s ends after 3.25 s, the next tick is at 4 s
    EXPECT_EQ(std::ranges::count(lines(), "playingTimer"), 1);
    escape();
    const std::size_t then = posted().size();
    advance(100);
    EXPECT_EQ(posted().size(), then);
  }
}

TEST_F(RepeatControllerTest, ALateTickIsJudgedByWhenItWasDue) {
  load({move(0), move(1)});
  repeat(0);
  play();
  advance(0.5);
  load({move(0), move(1.25)});
  advance(1);
  desktop.runLoop.stall(1);  // past the tick at 2 s and the event after 2.25 s
  lines();
  advance(0);
  EXPECT_THAT(lines(), Not(Contains("repeating now")));
  advance(0.5);
  EXPECT_THAT(lines(), Contains("repeating now"));
}

TEST_F(RepeatControllerTest, PendingEventsOfAnEarlierPlaybackSkipNoTick) {
  load({move(0), move(100), move(1)});
  play();
  advance(1);
  EXPECT_FALSE(playing());
  play();
  advance(1);
  EXPECT_THAT(postingTimes(), ElementsAre(0.0, 1.0, 1.0, 2.0));
}

}  // namespace
}  // namespace tapeloop
