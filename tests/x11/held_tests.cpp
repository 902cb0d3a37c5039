#include <csignal>
#include <optional>

#include "support/child_process.h"
#include "x11_fixture.h"

// Whatever ends a playback or a capture, nothing stays held.

using namespace std::chrono_literals;
using namespace tapeloop;
using namespace tapeloop::support;

namespace {

class Held : public X11Test {
 protected:
  /// A recording in the middle of whose drag a key goes down; neither comes up for a minute.
  static std::vector<InputEvent> longHold() {
    return {inputEvent(EventType::leftMouseDown, 0, {100, 700}),
            inputEvent(EventType::leftMouseDragged, 0.001, {110, 690}),
            inputEvent(EventType::keyDown, 0.002, {110, 690}),
            inputEvent(EventType::leftMouseDragged, 0.003, {120, 680}),
            inputEvent(EventType::keyUp, 60, {120, 680}),
            inputEvent(EventType::leftMouseUp, 60, {120, 680})};
  }

  void playIntoTheHold() {
    desktop.setLog(longHold());
    desktop.startPlayback(1);
    ASSERT_TRUE(turnUntil([this] { return isHolding(); }));
  }
};

}  // namespace

TEST_F(Held, EscapeLetsGoOfTheButtonAndTheKeyOfADrag) {
  playIntoTheHold();
  desktop.stopPlayback();
  EXPECT_FALSE(desktop.isPlaying());
  EXPECT_TRUE(turnUntil([this] { return isNothingHeld(); }));
}

TEST_F(Held, QuittingLetsGo) {
  std::optional<X11Desktop> other(std::in_place, server.display());
  other->setLog(longHold());
  other->startPlayback(1);
  ASSERT_TRUE(other->runUntilElsewhere([this] { return isHolding(); }, patience));
  other.reset();
  EXPECT_TRUE(turnUntil([this] { return isNothingHeld(); }));
}

TEST_F(Held, NextStartMendsWhatAKilledProgramLeftBehind) {
  ChildProcess player({X11_PLAYER, "hold"}, {server.displayVariable()});
  ASSERT_TRUE(turnUntil([this] { return isHolding(); }));
  player.kill(SIGKILL);
  ASSERT_EQ(player.wait(patience), -SIGKILL);
  ASSERT_TRUE(isHolding()) << "the server keeps what a killed client has pressed";

  ChildProcess next({X11_PLAYER, "start"}, {server.displayVariable()});
  EXPECT_EQ(next.wait(patience), 0);
  EXPECT_TRUE(isNothingHeld());
}

TEST_F(Held, StartOfAnotherProgramLeavesAPlaybackAlone) {
  playIntoTheHold();
  ChildProcess other({X11_PLAYER, "start"}, {server.displayVariable()});
  EXPECT_EQ(other.wait(patience), 0);
  EXPECT_TRUE(isHolding());
}

TEST(LostServer, CaptureAndPlaybackEndCleanly) {
  XServer server;
  const XPoster poster(server.display());
  X11Desktop recording(server.display());
  X11Desktop playing(server.display());
  recording.startCapture();
  poster.moveTo(10, 10);
  const auto& log = recording.contentView().captureState().eventLog;
  ASSERT_TRUE(recording.runUntil([&] { return log.size() == 1; }, patience));
  playing.setLog({inputEvent(EventType::leftMouseDown, 0, {5, 5}),
                  inputEvent(EventType::leftMouseDragged, 0.5, {6, 6}),
                  inputEvent(EventType::leftMouseUp, 1, {6, 6})});
  playing.startPlayback(1);
  ASSERT_TRUE(playing.runUntilElsewhere(
      [&] { return !pointerState(server.display()).buttonsDown.empty(); }, patience));

  server.kill();
  EXPECT_TRUE(recording.runUntil([&] { return recording.isConnectionLost(); }, patience));
  EXPECT_FALSE(log.empty()) << "what was captured is still there";
  EXPECT_TRUE(playing.runUntil([&] { return !playing.isPlaying(); }, patience))
      << "the rest of the run is posted to nobody";
}
