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
  /// Plays a drag in the middle of which a key goes down; neither comes up for a minute.
  void playIntoTheHold(X11Desktop& program) {
    program.setLog({inputEvent(EventType::leftMouseDown, 0, {100, 700}),
                    inputEvent(EventType::leftMouseDragged, 0.001, {110, 690}),
                    inputEvent(EventType::keyDown, 0.002, {110, 690}),
                    inputEvent(EventType::leftMouseDragged, 0.003, {120, 680}),
                    inputEvent(EventType::keyUp, 60, {120, 680}),
                    inputEvent(EventType::leftMouseUp, 60, {120, 680})});
    program.startPlayback(1);
    ASSERT_TRUE(program.runUntilElsewhere([this] { return isHolding(); }, timeout));
  }
  /// Another process of the program starts and ends.
  void startAnother() {
    ChildProcess other({X11_PLAYER, "start"}, {server.displayVariable()});
    EXPECT_EQ(other.wait(timeout), 0);
  }
};

}  // namespace

TEST_F(Held, EscapeLetsGoAndSoDoesQuitting) {
  playIntoTheHold(desktop);
  startAnother();
  EXPECT_TRUE(isHolding()) << "another start leaves it alone";
  desktop.contentView.escapeKeyPressed();
  EXPECT_FALSE(desktop.isPlaying());
  EXPECT_TRUE(turnUntil([this] { return isNothingHeld(); }));

  std::optional<X11Desktop> other(std::in_place, server.display());
  playIntoTheHold(*other);
  other.reset();
  EXPECT_TRUE(turnUntil([this] { return isNothingHeld(); }));
}

TEST_F(Held, NextStartMendsWhatAKilledProgramLeft) {
  ChildProcess player({X11_PLAYER, "hold"}, {server.displayVariable()});
  ASSERT_TRUE(turnUntil([this] { return isHolding(); }));
  player.kill(SIGKILL);
  ASSERT_EQ(player.wait(timeout), -SIGKILL);
  ASSERT_TRUE(isHolding()) << "the server keeps what a killed client has pressed";
  startAnother();
  EXPECT_TRUE(isNothingHeld());
}

TEST(LostServer, CaptureAndPlaybackEndCleanly) {
  XServer server;
  const XUser user(server.display());
  X11Desktop recording(server.display());
  X11Desktop playing(server.display());
  recording.startCapture();
  user.moveTo(10, 10);
  ASSERT_TRUE(recording.runUntil([&] { return recording.log().size() == 1; }, timeout));
  playing.setLog({inputEvent(EventType::leftMouseDown, 0, {5, 5}),
                  inputEvent(EventType::leftMouseDragged, 0.5, {6, 6}),
                  inputEvent(EventType::leftMouseUp, 1, {6, 6})});
  playing.startPlayback(1);
  ASSERT_TRUE(playing.runUntilElsewhere(
      [&] { return !pointerState(server.display()).buttonsDown.empty(); }, timeout));

  server.kill();
  EXPECT_TRUE(recording.runUntil([&] { return recording.x.connection->isLost(); }, timeout));
  EXPECT_FALSE(recording.log().empty()) << "what was captured is still there";
  EXPECT_TRUE(playing.runUntil([&] { return !playing.isPlaying(); }, timeout))
      << "without a server the run comes to its end, too";
}
