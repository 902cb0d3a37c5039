#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "window/program.h"

namespace tapeloop::support {
namespace {

using testing::ElementsAre;

// The window gives the steps and the reason, and the record button shows an alert.
void expectAuthorization(Program& program, const std::string& reason) {
  (void)program.named(Role::heading, "Authorize Tapeloop");
  for (const char* step : {"Go to System Preferences", "Security & Privacy", "Privacy",
                           "Accessibility", "Check Tapeloop", reason.c_str()}) {
    (void)program.named(Role::label, step);
  }
  EXPECT_THAT(program.complaints(), ElementsAre(reason)) << "on standard error, too";
  ASSERT_TRUE(program.recordButton().press());
  EXPECT_EQ(program.dismissAlert(),
            "Please authorize Tapeloop by going to System Preferences -> Security & Privacy -> "
            "Privacy -> Accessibility -> Check Tapeloop.");
}

TEST(AuthorizationTests, MissingExtensionsAreNamedInAWindow) {
  // Without RECORD the server leaves out XTEST, too.
  TestDesktop desktop({.arguments = {"-extension", "RECORD"}});
  Program program(desktop);
  expectAuthorization(
      program,
      "The X server does not offer RECORD, XTEST: enable this in its configuration, or log in to a "
      "session of a full X.Org server.");

  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 2));
  const std::array<std::size_t, 2> windows{0, 1};
  const auto floats = [&desktop](std::size_t index) {
    const auto state = desktop.property("Tapeloop", index, "_NET_WM_STATE");
    return std::ranges::count(state, desktop.atom("_NET_WM_STATE_ABOVE")) > 0;
  };
  ASSERT_TRUE(eventually([&] { return std::ranges::any_of(windows, floats); }));
  constexpr std::uint32_t minimizeFunction = 8;
  constexpr std::uint32_t maximizeFunction = 16;
  constexpr std::uint32_t closeFunction = 32;
  constexpr std::uint32_t minimizeButton = 32;
  constexpr std::uint32_t maximizeButton = 64;
  const auto hints =
      desktop.property("Tapeloop", *std::ranges::find_if(windows, floats), "_MOTIF_WM_HINTS");
  ASSERT_GE(hints.size(), 3U);
  EXPECT_EQ(hints[0] & 3U, 3U) << "functions and decorations are named";
  EXPECT_EQ(hints[1] & (minimizeFunction | maximizeFunction | closeFunction), closeFunction);
  EXPECT_EQ(hints[2] & (minimizeButton | maximizeButton), 0U);
}

// The window is moved by its background. If a click on the button began a move, the window manager
// would keep the pointer grabbed and take the next key.
TEST(AuthorizationTests, AClickOnTheButtonOfItsWindowDoesNotBeginToMoveIt) {
  TestDesktop desktop;
  Program program(desktop, {}, std::nullopt,
                  {"env", "ASAN_OPTIONS=verify_asan_link_order=0",
                   std::string("LD_PRELOAD=") + PRETENDED_WAYLAND});
  (void)program.named(Role::heading, "Authorize Tapeloop");
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 2));
  const auto button = program.named(Role::frame, "").find([](const Element& element) {
    return element.name() == "Information";
  });
  ASSERT_TRUE(button);
  const auto places = [&] {
    std::vector<std::pair<int, int>> all;
    for (const auto& window : desktop.windows("Tapeloop")) all.emplace_back(window.x, window.y);
    return all;
  };
  ASSERT_TRUE(desktop.waitForRest());
  const auto before = places();
  const auto place = button->place();
  program.point(*button);
  desktop.user().press(1);
  for (int way = 0; way < 5; ++way) {
    desktop.user().moveTo(place.x + 10 * way, place.y + 10);
    ASSERT_TRUE(desktop.waitForRest());
  }
  EXPECT_EQ(places(), before);
  desktop.user().release(1);
  EXPECT_TRUE(desktop.waitForFreePointer());
}

// On a headless Wayland desktop with Xwayland.
TEST(AuthorizationTests, UnderWaylandAnotherSessionIsToBeChosen) {
  if (ChildProcess({"sh", "-c", "command -v weston && command -v Xwayland"}).wait(generousLimit) !=
      0) {
    GTEST_SKIP() << "there is no Wayland desktop to start";
  }
  const TemporaryFolder folder;
  ChildProcess wayland({"sh", "-c",
                        "exec weston --backend=headless-backend.so --use-pixman --xwayland "
                        "--no-config --socket=test 2>&1"},
                       {"XDG_RUNTIME_DIR=" + folder.path().string()});
  std::string display;
  ASSERT_TRUE(wayland.waitUntil(
      [&display](const auto& lines) {
        constexpr std::string_view announcement = "listening on display ";
        for (const std::string& line : lines) {
          const auto at = line.find(announcement);
          if (at != std::string::npos) display = line.substr(at + announcement.size());
        }
        return !display.empty();
      },
      generousLimit));
  TestDesktop desktop;
  Program program(desktop, {}, std::nullopt, {"env", "DISPLAY=" + display});
  expectAuthorization(program,
                      "This is a Wayland session, where no program sees the input of others: log "
                      "out, and choose an X11 (Xorg) session when you log in.");
}

}  // namespace
}  // namespace tapeloop::support
