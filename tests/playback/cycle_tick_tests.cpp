#include <algorithm>
#include <functional>
#include <vector>

#include "playback/playback_fixture.h"

// The ticks of the cycle timer, and the runs that they start or pass over.

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

using CycleTickTest = PlaybackTest;

// Without a wait the next cycle is due together with the end of the run, and comes first.
TEST_F(CycleTickTest, TheCycleAfterTheLastRunIsCutShortBeforeItPostsAnything) {
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
TEST_F(CycleTickTest, WithoutAWaitNoTickIsPassedOverWhateverTheDurationOrTheLateness) {
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

// Runs on top of each other would all go on when Escape cancels the latest.
TEST_F(CycleTickTest, ATickIsPassedOverWhileARunStillHasEvents) {
  const std::vector<InputEvent> longer{move(0), move(2.25)};
  // The last event need not be the latest one.
  const std::vector<InputEvent> disordered{move(0), move(2.25), move(1)};
  const std::function<void()> lengthenings[] = {
      [&] { load(longer); },
      [&] { log(longer); },
      [&] { playbackSpeed.set(1.0 / 2.25); },
      [&] { load(disordered); },
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
    EXPECT_EQ(std::ranges::count(lines(), "playingTimer"), 0);
    EXPECT_LE(posted().size() - before, 1u);
    advance(2);  // the run that began after 1 s ends after 3.25 s, the next tick is at 4 s
    EXPECT_EQ(std::ranges::count(lines(), "playingTimer"), 1);
    escape();
    const std::size_t then = posted().size();
    advance(100);
    EXPECT_EQ(posted().size(), then);
  }
}

TEST_F(CycleTickTest, ALateTickIsPassedOverForWhatWasLaterThanItsDueTime) {
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

TEST_F(CycleTickTest, WhatIsLeftOfAnEarlierPlaybackKeepsNoNewOneFromBeginning) {
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
