#include <algorithm>
#include <atomic>
#include <csignal>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/x_observer.h"
#include "support/x_state.h"
#include "support/x_window.h"
#include "window/program.h"

namespace tapeloop::support {
namespace {

constexpr const char* recordSlot = "KeyboardShortcuts_toggleUnicornMode";
constexpr const char* playSlot = "KeyboardShortcuts_toggleUnicornMode2";
constexpr const char* controlOptionR = R"({"carbonKeyCode":15,"carbonModifiers":6144})";
constexpr const char* controlOptionP = R"({"carbonKeyCode":35,"carbonModifiers":6144})";

#ifdef __SANITIZE_ADDRESS__
// Under the sanitizer the program is slower than a storm at full speed, and would be busy with that
// for as long as it lasts.
constexpr std::chrono::milliseconds betweenPresses{10};
#else
constexpr std::chrono::milliseconds betweenPresses{0};
#endif

/// The program does its work for another application, which keeps the focus.
class ShortcutSessionTests : public testing::Test {
 protected:
  // The program is there, and the application has the focus all the same.
  void start(const Program& /*running*/) const {
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
    ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
    application.takeFocus();
  }
  void strike(const char* key) const { desktop.strike(key); }
  // What the application got: the key, and the modifiers it came with.
  using Strokes = std::vector<std::pair<std::uint8_t, std::uint16_t>>;
  Strokes strokes() const {
    const auto isModifier = [&](std::uint8_t key) {
      return key == user.keycode("Control_L") || key == user.keycode("Alt_L");
    };
    Strokes found;
    for (const auto& event : application.received()) {
      if (event.kind == XEventKind::keyPress && !isModifier(event.detail)) {
        found.emplace_back(event.detail, event.state);
      }
    }
    return found;
  }
  Strokes plain(std::initializer_list<const char*> keys) const {
    Strokes found;
    for (const char* key : keys) found.emplace_back(user.keycode(key), 0);
    return found;
  }
  bool getsKeys(std::size_t count) const {
    return eventually([&] { return strokes().size() >= count; });
  }
  static std::vector<std::string> toggles(Program& program) {
    std::vector<std::string> found;
    std::ranges::copy_if(program.process().lines(), std::back_inserter(found),
                         [](const auto& line) { return line.starts_with("Recording: "); });
    return found;
  }
  void expectNothingIsTaken() {
    EXPECT_TRUE(keysDown(desktop.server().display()).empty());
    // The window manager hands out the focus that the program had some time after it has gone.
    const bool all = eventually([&] {
      application.takeFocus();
      application.clear();
      strike("r");
      strike("p");
      user.tapKey("Escape");
      const auto ended = [this](const XEventList::Events& events) {
        return std::ranges::any_of(events, [this](const XEvent& event) {
          return event.kind == XEventKind::keyRelease && event.detail == user.keycode("Escape");
        });
      };
      return application.waitUntil(ended, std::chrono::seconds(1)) && strokes().size() == 3;
    });
    EXPECT_TRUE(all) << "a combination is still taken from the application";
  }

  TestDesktop desktop;
  TemporaryFolder data;
  XWindow application{desktop.server().display(), {.x = 700, .y = 300, .overrideRedirect = true}};
  const XPoster& user = desktop.user();
};

TEST_F(ShortcutSessionTests, TheyAreSetInTheSheetAndDoTheWholeJobInThisRunAndTheNext) {
  const Strokes typed = plain({"h", "e", "y", "Return"});
  {
    Program program(desktop, {}, data.path());
    ASSERT_NO_FATAL_FAILURE(start(program));
    ASSERT_TRUE(program.openSettings());
    for (const auto& [field, key] : {std::pair{"Record Shortcut", "r"}, {"Play Shortcut", "p"}}) {
      ASSERT_TRUE(program.setShortcut(field, key));
    }
    program.click("Save");
    ASSERT_TRUE(program.loses("dialog", "Settings"));
    EXPECT_EQ(toggles(program), std::vector<std::string>()) << "typed for the fields alone";

    application.takeFocus();
    application.clear();
    strike("r");
    ASSERT_TRUE(program.writes("Recording: true"));
    user.typeText("hey");
    user.tapKey("Return");
    ASSERT_TRUE(getsKeys(typed.size()));
    strike("r");
    ASSERT_TRUE(program.writes("Recording: false"));
    EXPECT_EQ(strokes(), typed) << "and nothing of the shortcut";
    application.clear();
    strike("p");
    ASSERT_TRUE(getsKeys(typed.size()));
    EXPECT_EQ(strokes(), typed);
    ASSERT_TRUE(program.named("push button", "Save Recording").press());
    ASSERT_TRUE(program.named("push button", "Close").press());
    ASSERT_EQ(program.exitCode(), 0);
    ASSERT_NO_FATAL_FAILURE(expectNothingIsTaken());
  }
  Program program(desktop, {}, data.path());
  ASSERT_NO_FATAL_FAILURE(start(program));
  ASSERT_TRUE(program.named("push button", "Toggle Sidebar").press());
  ASSERT_TRUE(program.named("push button", "Load Recording").press());
  (void)program.named("alert", "Recording Loaded");
  application.takeFocus();
  application.clear();
  strike("p");
  ASSERT_TRUE(getsKeys(typed.size()));
  EXPECT_EQ(strokes(), typed);
}

TEST_F(ShortcutSessionTests, EscapeEndsAWaitOfHoursAtOnceAndTheNextPlayRuns) {
  store(data.path(), {{recordSlot, controlOptionR},
                      {playSlot, controlOptionP},
                      {"repeatPlayback", true},
                      {"waitBeforeRepeating", true},
                      {"waittimenumber", std::int64_t{60}},
                      {"waittimeunit", "hours"}});
  Program program(desktop, {}, data.path());
  ASSERT_NO_FATAL_FAILURE(start(program));
  strike("r");
  ASSERT_TRUE(program.writes("Recording: true"));
  user.typeText("ab");
  ASSERT_TRUE(getsKeys(2));
  strike("r");
  ASSERT_TRUE(program.writes("Recording: false"));
  for (int round = 0; round < 3; ++round) {
    application.clear();
    strike("p");
    ASSERT_TRUE(getsKeys(2)) << "round " << round;
    user.tapKey("Escape");
    ASSERT_TRUE(program.named("push button", "Play").is(State::enabled) || eventually([&] {
                  return program.named("push button", "Play").is(State::enabled);
                }));
    EXPECT_EQ(strokes(), plain({"a", "b"})) << "Escape was ours, since something played";
  }
  user.tapKey("Escape");
  EXPECT_TRUE(getsKeys(3)) << "nothing plays: it is the application's";
}

TEST_F(ShortcutSessionTests, KilledWhileAShortcutIsHeldItLeavesNothingTaken) {
  store(data.path(), {{recordSlot, controlOptionR}, {playSlot, controlOptionP}});
  for (int round = 0; round < 3; ++round) {
    Program program(desktop, {}, data.path());
    ASSERT_NO_FATAL_FAILURE(start(program));
    strike("r");
    ASSERT_TRUE(program.writes("Recording: true"));
    for (const char* key : {"Control_L", "Alt_L", "r"}) user.pressKey(key);
    program.process().kill(SIGKILL);
    ASSERT_EQ(program.exitCode(), -SIGKILL);
    for (const char* key : {"r", "Alt_L", "Control_L"}) user.releaseKey(key);
    ASSERT_NO_FATAL_FAILURE(expectNothingIsTaken());
  }
}

TEST_F(ShortcutSessionTests, PressesWhileItStartsAndEndsAreActedOnOnceOrLeftToTheApplication) {
  store(data.path(), {{recordSlot, controlOptionR}});
  for (int round = 0; round < 3; ++round) {
    std::atomic<bool> enough{false};
    Program program(desktop, {}, data.path());
    {
      const XPoster hurried(desktop.server().display());
      const std::jthread presses([&] {
        while (!enough) {
          for (const char* each : {"Control_L", "Alt_L", "r"}) hurried.pressKey(each);
          for (const char* each : {"r", "Alt_L", "Control_L"}) hurried.releaseKey(each);
          std::this_thread::sleep_for(betweenPresses);
        }
      });
      EXPECT_TRUE(eventually([&] { return toggles(program).size() >= 10; }));
      program.process().kill(round == 0 ? SIGTERM : SIGINT);
      EXPECT_EQ(program.exitCode(), 128 + (round == 0 ? SIGTERM : SIGINT));
      enough = true;
    }
    const auto lines = toggles(program);
    for (std::size_t i = 0; i < lines.size(); ++i) {
      ASSERT_EQ(lines[i], i % 2 == 0 ? "Recording: true" : "Recording: false") << i;
    }
    ASSERT_NO_FATAL_FAILURE(expectNothingIsTaken());
  }
}

TEST_F(ShortcutSessionTests, OneThatIsRefusedAtStartWorksWhenItIsFreeAndSetAgain) {
  store(data.path(), {{recordSlot, controlOptionR}});
  auto other = std::make_unique<XConnection>(desktop.server().display());
  xcb_grab_key(*other, 0, other->root(), XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1, user.keycode("r"),
               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
  other->sync();
  Program program(desktop, {}, data.path());
  ASSERT_NO_FATAL_FAILURE(start(program));
  other.reset();
  strike("r");
  ASSERT_TRUE(getsKeys(1)) << "now it is nobody's";
  EXPECT_EQ(toggles(program), std::vector<std::string>());

  ASSERT_TRUE(program.openSettings());
  ASSERT_TRUE(program.setShortcut("Record Shortcut", "r"));
  program.click("Save");
  ASSERT_TRUE(program.loses("dialog", "Settings"));
  application.takeFocus();
  application.clear();
  strike("r");
  ASSERT_TRUE(program.writes("Recording: true"));
  strike("r");
  ASSERT_TRUE(program.writes("Recording: false"));
  EXPECT_EQ(strokes(), Strokes());
}

TEST_F(ShortcutSessionTests, ADamagedOneIsNoneAndTheOtherWorks) {
  store(data.path(),
        {{recordSlot, R"({"carbonKeyCode":15,"carbonModifiers":)"}, {playSlot, controlOptionP}});
  Program program(desktop, {}, data.path());
  ASSERT_NO_FATAL_FAILURE(start(program));
  strike("r");
  EXPECT_TRUE(getsKeys(1)) << "nobody takes it";
  strike("p");
  (void)program.named("push button", "Dismiss");
  ASSERT_TRUE(program.named("push button", "Dismiss").press());
  ASSERT_TRUE(program.openSettings());
  EXPECT_EQ(program.named("text", "Record Shortcut").text(), "");
  EXPECT_EQ(program.named("text", "Play Shortcut").text(), "⌃⌥P");
  ASSERT_TRUE(program.setShortcut("Record Shortcut", "r"));
  ASSERT_TRUE(program.named("push button", "Save").press());
  ASSERT_TRUE(program.loses("dialog", "Settings"));
  application.takeFocus();
  strike("r");
  EXPECT_TRUE(program.writes("Recording: true"));
}

}  // namespace
}  // namespace tapeloop::support
