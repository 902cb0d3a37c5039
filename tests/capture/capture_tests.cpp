#include <memory>
#include <string>

#include "capture/capture.h"
#include "capture/indicator_windows.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using namespace testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class CaptureTest : public SimulatedTest {
 protected:
  CaptureTest() { state.heightScreen = 900; }

  State<std::string> caption{"Record"};
  State<bool> keySetting{true};
  State<bool> hideDuringRecording{false};
  State<bool> isMiniturized{false};
  CaptureState state;
  std::unique_ptr<Capture> capture = std::make_unique<Capture>(
      state, CaptureSettings{caption, keySetting, hideDuringRecording, isMiniturized},
      desktop.permission, desktop.inputMonitor, desktop.windows, desktop.runLoop, desktop.trace);
};

TEST_F(CaptureTest, ArmsCapturesAndStops) {
  Lines captions;
  const auto subscription = caption.subscribe([&] { captions.push_back(caption.get()); });

  capture->recordAction();
  EXPECT_TRUE(state.isRecording.get());
  EXPECT_TRUE(state.buttonDisabled.get());
  EXPECT_EQ(state.buttonProperties->startStopOpacity.get(), 0.3);
  EXPECT_EQ(state.startStopButtonSize.get(), FontStyle::callout);
  EXPECT_FALSE(keySetting.get());
  ASSERT_EQ(desktop.windows.visibleWindows(), 1u);
  const auto& window = *desktop.windows.records().at(0);
  EXPECT_THAT(
      window.operations,
      ElementsAre("createWindow 0 0 500 500 32783 2 false", "makeKeyAndOrderFront",
                  "setMovableByWindowBackground true", "setLevel 3", "setBackgroundColor 0 0 0 0",
                  "setStyleMask 32783", "setStyleMask 32783", "setBackingType 2", "setStyleMask 0",
                  "setStyleMask 8", "setStyleMask 32776", "setReleasedWhenClosed false",
                  "setIgnoresMouseEvents true", "setContentView 10", "setFrameTopLeftPoint 0 900"));
  EXPECT_TRUE(std::dynamic_pointer_cast<RecordingView>(window.view.lock()));

  deliver(move(100.5, {1, 2}));
  deliver(leftDown(101, {3, 4}));
  deliver(leftUp(103.25, {3, 4}));
  capture->recordAction();

  EXPECT_FALSE(state.isRecording.get());
  EXPECT_FALSE(state.buttonDisabled.get());
  EXPECT_EQ(state.buttonProperties->startStopOpacity.get(), 1.0);
  EXPECT_EQ(state.startStopButtonSize.get(), FontStyle::title);
  EXPECT_EQ(state.recordingType.get(), "unsaved");
  EXPECT_EQ(state.recordingTime, 2.75);
  EXPECT_EQ(state.eventLog.size(), 3u);
  EXPECT_EQ(state.eventLog.back(), leftUp(103.25, {3, 4}));
  EXPECT_EQ(desktop.windows.visibleWindows(), 0u);
  EXPECT_EQ(desktop.inputMonitor.installed(), 0u);
  EXPECT_THAT(captions, ElementsAre("Click outside the window to start recording.",
                                    "Stop Recording", "Record"));
  EXPECT_THAT(lines(),
              ElementsAre("Recording: true", StartsWith("Optional("), StartsWith("Optional("),
                          StartsWith("Optional("), "Recording: false"));
}

TEST_F(CaptureTest, DurationIsThatOfTheEvents) {
  state.recordingTime = 7;
  state.recordingType.set("saved");
  capture->recordAction();
  capture->recordAction();
  EXPECT_TRUE(state.eventLog.empty());
  EXPECT_EQ(state.recordingTime, 7) << "without events it stays";
  EXPECT_EQ(state.recordingType.get(), "unsaved");

  capture->recordAction();
  deliver(move(100));
  EXPECT_EQ(caption.get(), "Click outside the window to start recording.");
  capture->recordAction();
  EXPECT_EQ(state.recordingTime, 0);
}

TEST_F(CaptureTest, EventsDuringTheRemovalAreRecorded) {
  capture->recordAction();
  deliver(move(100));
  deliver(keyDown(101, 7));
  caption.set("Record");  // by another program that starts
  deliver(move(101.5));
  EXPECT_EQ(caption.get(), "Stop Recording");
  desktop.inputMonitor.holdBack(keyUp(102, 7));
  capture->recordAction();
  EXPECT_EQ(state.eventLog.size(), 4u);
  EXPECT_EQ(state.recordingTime, 2);
  EXPECT_EQ(caption.get(), "Record");
  EXPECT_EQ(lines().back(), "Recording: false");
}

TEST_F(CaptureTest, CapturesEveryKindAndNothingElse) {
  capture->recordAction();
  EventMask captured = 0;
  for (std::uint32_t type = 0; type < 64; ++type) {
    deliver(mouse(static_cast<EventType>(type), 100 + type));
  }
  for (const InputEvent& event : state.eventLog) captured |= maskOf(event.type);
  EXPECT_EQ(captured, 0x400C7Eu);
  EXPECT_EQ(state.eventLog.size(), eventKinds.size());
}

TEST_F(CaptureTest, TracesTypeLocationTimeAndFlags) {
  capture->recordAction();
  InputEvent event = keyDown(1234.5, 7, 0x20102);
  event.locationInWindow = {12.25, -3};
  deliver(event);
  EXPECT_EQ(lines().back(), "Optional(keyDown at (12.25, -3) time 1234.5 flags 0x20102)");
}

TEST_F(CaptureTest, ArmingAgainStartsAnew) {
  capture->recordAction();
  deliver(move(100));
  capture->recordAction();
  const auto firstWindow = state.RECwindow;
  const auto firstMonitor = state.eventHandler;
  ASSERT_NE(firstWindow, nullptr) << "a closed window is kept";

  capture->recordAction();
  EXPECT_TRUE(state.eventLog.empty());
  EXPECT_NE(state.RECwindow, firstWindow);
  EXPECT_NE(state.eventHandler, firstMonitor);
  EXPECT_EQ(desktop.inputMonitor.installed(), 1u);
  state.eventHandler.reset();
  EXPECT_EQ(desktop.inputMonitor.installed(), 0u) << "removed with its last reference";
}

TEST_F(CaptureTest, WithoutPermissionOnlyTheAlertIsRaised) {
  desktop.permission.granted = false;
  capture->recordAction();
  EXPECT_THAT(lines(), IsEmpty());
  capture->recordShortcutAction();
  EXPECT_THAT(lines(), ElementsAre("record shortcut pressed"));
  EXPECT_TRUE(state.showingAuthAlert.get());
  EXPECT_FALSE(state.isRecording.get());
  EXPECT_THAT(desktop.windows.records(), IsEmpty());

  desktop.permission.granted = true;
  capture->recordAction();
  desktop.permission.granted = false;
  capture->recordAction();
  EXPECT_TRUE(state.isRecording.get());
}

TEST_F(CaptureTest, DuringPlaybackTheLastLogIsTaken) {
  state.eventLog.append(move(10));
  state.eventLog.append(move(14));
  state.recordingType.set("saved");
  state.isPlaying.set(true);
  capture->recordShortcutAction();
  EXPECT_THAT(lines(), ElementsAre("record shortcut pressed", "Recording: false"));
  EXPECT_EQ(state.recordingType.get(), "unsaved");
  EXPECT_EQ(state.recordingTime, 4);
  EXPECT_TRUE(state.isPlaying.get());
}

TEST_F(CaptureTest, GoesOnWithoutAWindowOrAMonitor) {
  desktop.windows.refuseWindows();
  capture->recordAction();
  deliver(move(100));
  capture->recordAction();
  EXPECT_EQ(state.eventLog.size(), 1u);

  desktop.inputMonitor.refuseMonitors();
  capture->recordAction();
  EXPECT_TRUE(state.isRecording.get());
  capture->recordAction();
  EXPECT_TRUE(state.eventLog.empty());
  EXPECT_EQ(caption.get(), "Record");
}

TEST_F(CaptureTest, HidingIsRememberedAtTheEndIfWanted) {
  for (const bool hides : {false, true}) {
    hideDuringRecording.set(hides);
    capture->recordAction();
    EXPECT_FALSE(isMiniturized.get());
    capture->recordAction();
    EXPECT_EQ(isMiniturized.get(), hides);
  }
}

TEST_F(CaptureTest, QuittingRemovesTheMonitor) {
  capture->recordAction();
  desktop.inputMonitor.holdBack(move(100));
  capture.reset();
  EXPECT_EQ(desktop.inputMonitor.installed(), 0u);
  EXPECT_EQ(state.eventLog.size(), 1u);
}

class RecordingViewTest : public SimulatedTest {
 protected:
  std::shared_ptr<RecordingView> view = std::make_shared<RecordingView>(desktop.runLoop);
  double opacity() { return view->circleOpacity().get(); }
};

TEST_F(RecordingViewTest, TheDotBlinks) {
  view->onAppear();
  for (int half = 0; half < 6; ++half) {
    EXPECT_EQ(opacity(), half % 2 == 0 ? 1.0 : 0.0);
    advance(0.999);
    EXPECT_EQ(opacity(), half % 2 == 0 ? 1.0 : 0.0);
    advance(0.001);
  }
  advance(0.5);
  view->onAppear();  // again: with the first timer as well, it would hide half a second early
  advance(2.75);
  EXPECT_EQ(opacity(), 1.0);
}

TEST_F(RecordingViewTest, BlinkingEndsWithTheView) {
  view->onAppear();
  view->onDisappear();
  for (const int seconds : {1, 10}) {
    advance(seconds);
    EXPECT_EQ(opacity(), 0.0);
  }
  EXPECT_EQ(desktop.runLoop.timers().size(), 0u);
  view->onAppear();
  view.reset();
  advance(10);
  EXPECT_EQ(desktop.runLoop.timers().size(), 0u);
}

}  // namespace
}  // namespace tapeloop
