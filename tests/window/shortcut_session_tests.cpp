#include <atomic>
#include <csignal>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/x_events.h"
#include "support/x_state.h"
#include "window/program.h"

namespace tapeloop::support {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* recordSlot = "KeyboardShortcuts_toggleUnicornMode";
constexpr const char* playSlot = "KeyboardShortcuts_toggleUnicornMode2";
constexpr const char* controlOptionR = R"({"carbonKeyCode":15,"carbonModifiers":6144})";
constexpr const char* controlOptionP = R"({"carbonKeyCode":35,"carbonModifiers":6144})";
constexpr const char* damaged = R"({"carbonKeyCode":15,"carbonModifiers":)";

#ifdef __SANITIZE_ADDRESS__
// With the sanitizer the program handles presses more slowly than they can be posted, and would get
// to nothing else until the last one.
constexpr std::chrono::milliseconds betweenPresses{10};
#else
constexpr std::chrono::milliseconds betweenPresses{0};
#endif

/// The program does its work for another application, which keeps the focus.
class ShortcutSessionTests : public testing::Test {
 protected:
  // The program is there, and the application has the focus all the same.
  void start(Program& program) const {
    // It answers once it listens for its shortcuts, which is later than its window is there.
    (void)program.named(Role::button, "Record");
    ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
    application.takeFocus();
  }
  // What the application got, but for modifiers.
  std::vector<std::uint8_t> strokes() const {
    std::vector<std::uint8_t> found;
    for (const auto& event : application.events()) {
      const bool isModifier =
          event.detail == user.keycode("Control_L") || event.detail == user.keycode("Alt_L");
      if (event.kind == XEventKind::keyPress && !isModifier) found.push_back(event.detail);
    }
    return found;
  }
  bool getsKeys(std::size_t count) const {
    return eventually([&] { return strokes().size() >= count; });
  }
  static std::vector<std::string> toggles(Program& program) {
    auto lines = program.process().lines();
    std::erase_if(lines, [](const auto& line) { return !line.starts_with("Recording: "); });
    return lines;
  }
  void expectNothingIsTaken() {
    EXPECT_THAT(keysDown(desktop.server().display()), IsEmpty());
    // Some time after the program has ended, the window manager gives its focus to another window.
    const bool all = eventually([&] {
      application.takeFocus();
      application.clear();
      desktop.strike("r");
      desktop.strike("p");
      user.tapKey("Escape");
      const auto ended = [this](const XEventList::Events& events) {
        return !events.empty() && events.back().kind == XEventKind::keyRelease &&
               events.back().detail == user.keycode("Escape");
      };
      return application.waitUntil(ended, std::chrono::seconds(1)) && strokes().size() == 3;
    });
    EXPECT_TRUE(all) << "a combination is still taken from the application";
  }

  TestDesktop desktop;
  TemporaryFolder data;
  XWindow application{desktop.server().display(), {.x = 700, .y = 300, .overrideRedirect = true}};
  const XUser& user = desktop.user();
};

TEST_F(ShortcutSessionTests, KilledWithAShortcutHeldTakesNothing) {
  store(data.path(), {{recordSlot, controlOptionR}, {playSlot, controlOptionP}});
  for (int round = 0; round < 3; ++round) {
    Program program(desktop, {}, data.path());
    ASSERT_NO_FATAL_FAILURE(start(program));
    desktop.strike("r");
    ASSERT_TRUE(program.writes("Recording: true"));
    for (const char* key : {"Control_L", "Alt_L", "r"}) user.pressKey(key);
    program.process().kill(SIGKILL);
    ASSERT_EQ(program.exitCode(), -SIGKILL);
    for (const char* key : {"r", "Alt_L", "Control_L"}) user.releaseKey(key);
    ASSERT_NO_FATAL_FAILURE(expectNothingIsTaken());
  }
}

TEST_F(ShortcutSessionTests, PressesAtStartAndEndActOnceOrPassOn) {
  store(data.path(), {{recordSlot, controlOptionR}, {playSlot, damaged}});
  for (const int signal : {SIGTERM, SIGINT, SIGINT}) {
    std::atomic<bool> enough{false};
    Program program(desktop, {}, data.path());
    {
      const XUser hurried(desktop.server().display());
      const std::jthread presses([&] {
        while (!enough) {
          hurried.strike({"Control_L", "Alt_L", "r"});
          std::this_thread::sleep_for(betweenPresses);
        }
      });
      EXPECT_TRUE(eventually([&] { return toggles(program).size() >= 10; }));
      program.process().kill(signal);
      EXPECT_EQ(program.exitCode(), 128 + signal);
      enough = true;
    }
    const auto lines = toggles(program);
    for (std::size_t i = 0; i < lines.size(); ++i) {
      ASSERT_EQ(lines[i], i % 2 == 0 ? "Recording: true" : "Recording: false") << i;
    }
    ASSERT_NO_FATAL_FAILURE(expectNothingIsTaken());
  }
}

TEST_F(ShortcutSessionTests, DamagedAndRefusedOnesWorkOnceSetAgain) {
  store(data.path(), {{recordSlot, damaged}, {playSlot, controlOptionP}});
  auto other = std::make_unique<XConnection>(desktop.server().display());
  xcb_grab_key(*other, 0, other->root(), XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1, user.keycode("p"),
               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
  other->sync();
  Program program(desktop, {}, data.path());
  ASSERT_NO_FATAL_FAILURE(start(program));
  desktop.strike("p");
  desktop.strike("r");
  ASSERT_TRUE(getsKeys(1));
  EXPECT_THAT(strokes(), ElementsAre(user.keycode("r"))) << "nobody's, and the other program's";
  other.reset();
  application.clear();

  program.openSettings();
  EXPECT_EQ(program.named(Role::text, "Record Shortcut").text(), "");
  EXPECT_EQ(program.named(Role::text, "Play Shortcut").text(), "⌃⌥P");
  program.setShortcut("Record Shortcut", "r");
  program.setShortcut("Play Shortcut", "p");
  program.saveSettings();
  EXPECT_THAT(toggles(program), IsEmpty()) << "typed for the fields alone";
  application.takeFocus();
  desktop.strike("r");
  ASSERT_TRUE(program.writes("Recording: true"));
  user.tapKey("a");
  ASSERT_TRUE(getsKeys(1));
  desktop.strike("r");
  ASSERT_TRUE(program.writes("Recording: false"));
  desktop.strike("p");
  ASSERT_TRUE(program.writes("stopped playing"));
  ASSERT_TRUE(getsKeys(2));
  EXPECT_THAT(strokes(), ElementsAre(user.keycode("a"), user.keycode("a")));
}

}  // namespace
}  // namespace tapeloop::support
