#include <array>
#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/child_process.h"
#include "support/x_observer.h"
#include "support/x_poster.h"
#include "support/x_server.h"
#include "support/x_state.h"
#include "support/x_window.h"

// What the other tests rely on: the witness sees what the user does, exactly and completely.

using namespace std::chrono_literals;
using namespace tapeloop::support;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Tools, ObserverSeesWhatWasPostedUpToTheLastEventOfAQuietDesktop) {
  const XServer server;
  const XPoster poster(server.display());
  const XObserver observer(server.display());
  std::vector<XAction> actions;
  for (int i = 0; i < 203; ++i) {
    actions.push_back({XEventKind::motion, 0, static_cast<std::int16_t>(10 + i),
                       static_cast<std::int16_t>(300 - i)});
  }
  for (const std::uint8_t button : std::array<std::uint8_t, 4>{1, 3, 4, 5}) {
    actions.push_back({XEventKind::buttonPress, button});
    actions.push_back({XEventKind::buttonRelease, button});
  }
  const auto text = poster.typing("aB");
  actions.insert(actions.end(), text.begin(), text.end());
  pace(actions, 1ms);
  poster.run(actions);

  ASSERT_TRUE(observer.waitFor(actions.size(), 10s));
  const auto events = observer.events();
  ASSERT_EQ(events.size(), actions.size());
  for (std::size_t i = 0; i < actions.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(events[i].kind, actions[i].kind);
    EXPECT_EQ(events[i].detail, actions[i].detail);
    const bool moves = actions[i].kind == XEventKind::motion;
    EXPECT_EQ(events[i].rootX, moves ? actions[i].x : 212);
    EXPECT_EQ(events[i].rootY, moves ? actions[i].y : 98);
  }
  EXPECT_EQ(events[203].state, 0);
  EXPECT_EQ(events[204].state, XCB_BUTTON_MASK_1);
  EXPECT_EQ(events[events.size() - 3].state, XCB_MOD_MASK_SHIFT) << "the press of B";
}

TEST(Tools, WindowReceivesTypedTextAndServerStateIsReadBack) {
  const XServer server({.layout = "de"});
  const XPoster poster(server.display());
  const XWindow window(server.display());
  EXPECT_TRUE(window.hasFocus());
  poster.moveTo(50, 60);
  poster.typeText("z@");
  ASSERT_TRUE(window.waitFor(7, 10s));
  const auto events = window.received();
  EXPECT_EQ(events[1].detail, poster.keycode("z"));
  EXPECT_EQ(events[3].detail, poster.keycode("ISO_Level3_Shift"));
  EXPECT_EQ(events[4].state, XCB_MOD_MASK_5) << "AltGr is down while @ is typed";

  poster.pressKey("a");
  poster.press(3);
  EXPECT_THAT(keysDown(server.display()), ElementsAre(poster.keycode("a")));
  EXPECT_THAT(pointerState(server.display()).buttonsDown, ElementsAre(3));
  poster.release(3);
  poster.releaseKey("a");
  EXPECT_THAT(keysDown(server.display()), IsEmpty());
  EXPECT_THAT(pointerState(server.display()).buttonsDown, IsEmpty());
  EXPECT_EQ(pointerState(server.display()).x, 50);
}

TEST(Tools, HeldKeyRepeatsUnlessItsKeyboardIsToldNotTo) {
  const XServer server;
  const XPoster poster(server.display());
  const XObserver observer(server.display());
  const auto repeats = [](const XEventList::Events& events) {
    return !events.empty() && events.back().repeatOfDownKey;
  };
  EXPECT_TRUE(repeatsKeys(server.display(), testKeyboard));
  poster.pressKey("a");
  EXPECT_TRUE(observer.waitUntil(repeats, 10s));
  poster.releaseKey("a");

  setRepeatsKeys(server.display(), testKeyboard, false);
  EXPECT_FALSE(repeatsKeys(server.display(), testKeyboard));
  EXPECT_TRUE(repeatsKeys(server.display(), coreKeyboard));
}

TEST(Tools, ChildReportsItsLinesItsSignalAndAServerThatIsGone) {
  ChildProcess child({"sh", "-c", "echo one; echo $TWO; exec sleep 60"}, {"TWO=two"});
  EXPECT_EQ(child.waitForLine(1, 10s), "two");
  EXPECT_EQ(child.wait(0ms), std::nullopt);
  child.kill(SIGKILL);
  EXPECT_EQ(child.wait(10s), -SIGKILL);

  XServer server;
  server.kill();
  EXPECT_ANY_THROW(XPoster(server.display()));
}
