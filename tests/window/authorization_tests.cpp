#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "window/program.h"

namespace tapeloop::support {
namespace {

constexpr const char* alertMessage =
    "Please authorize Tapeloop by going to System Preferences -> Security & Privacy -> "
    "Privacy -> Accessibility -> Check Tapeloop.";

void expectAlert(Program& program) {
  ASSERT_TRUE(program.recordButton().press());
  EXPECT_EQ(program.named("alert", "Tapeloop").description(), alertMessage);
  ASSERT_TRUE(program.named("push button", "Dismiss").press());
  EXPECT_TRUE(program.loses("alert", "Tapeloop"));
}

TEST(AuthorizationTests, AServerThatLacksExtensionsIsToldByName) {
  // Without the one, this server leaves out the other.
  TestDesktop desktop({.arguments = {"-extension", "RECORD"}});
  Program program(desktop);
  (void)program.named("heading", "Authorize Tapeloop");
  for (const char* step : {"Go to System Preferences", "Security & Privacy", "Privacy",
                           "Accessibility", "Check Tapeloop"}) {
    (void)program.named("label", step);
  }
  const std::string reason =
      "The X server does not offer RECORD, XTEST: enable this in its configuration, or log in to a "
      "session of a full X.Org server.";
  (void)program.named("label", reason);
  EXPECT_EQ(program.complaints(), std::vector{reason}) << "and on standard error";
  expectAlert(program);
}

TEST(AuthorizationTests, ItsWindowFloatsAndAsksForNothingButACloseButton) {
  TestDesktop desktop({.arguments = {"-extension", "RECORD"}});
  const Program program(desktop);
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 2));
  const auto find = [&desktop] {
    const auto floats = [&](std::size_t index) {
      const auto state = desktop.property("Tapeloop", index, "_NET_WM_STATE");
      return std::ranges::find(state, desktop.atom("_NET_WM_STATE_ABOVE")) != state.end();
    };
    return floats(0) ? std::optional(0) : floats(1) ? std::optional(1) : std::nullopt;
  };
  ASSERT_TRUE(eventually([&] { return find().has_value(); }));

  constexpr std::uint32_t minimizeFunction = 8;
  constexpr std::uint32_t maximizeFunction = 16;
  constexpr std::uint32_t closeFunction = 32;
  constexpr std::uint32_t minimizeButton = 32;
  constexpr std::uint32_t maximizeButton = 64;
  const auto hints = desktop.property("Tapeloop", *find(), "_MOTIF_WM_HINTS");
  ASSERT_GE(hints.size(), 3U);
  EXPECT_EQ(hints[0] & 3U, 3U) << "functions and decorations are named";
  EXPECT_EQ(hints[1] & (minimizeFunction | maximizeFunction | closeFunction), closeFunction);
  EXPECT_EQ(hints[2] & (minimizeButton | maximizeButton), 0U);
}

// The window manager would hold the pointer from then on, and take the next key.
TEST(AuthorizationTests, AClickOnTheButtonOfItsWindowDoesNotBeginToMoveIt) {
  TestDesktop desktop;
  Program program(desktop, {}, std::nullopt,
                  {"env", "ASAN_OPTIONS=verify_asan_link_order=0",
                   std::string("LD_PRELOAD=") + PRETENDED_WAYLAND});
  (void)program.named("heading", "Authorize Tapeloop");
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 2));
  const auto button = program.named("frame", "").find([](const Element& element) {
    return element.name() == "Information";
  });
  ASSERT_TRUE(button);
  program.click(*button);
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 3)) << "the alert";
  EXPECT_TRUE(desktop.waitForFreePointer());
}

// A Wayland desktop without a screen, and the X server that it starts for programs such as this.
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
  ASSERT_TRUE(eventually([&] {
    constexpr std::string_view announcement = "listening on display ";
    for (const std::string& line : wayland.lines()) {
      const auto at = line.find(announcement);
      if (at != std::string::npos) display = line.substr(at + announcement.size());
    }
    return !display.empty();
  }));
  TestDesktop desktop;
  Program program(desktop, {}, std::nullopt, {"env", "DISPLAY=" + display});
  (void)program.named("heading", "Authorize Tapeloop");
  (void)program.named("label",
                      "This is a Wayland session, where no program sees the input of others: log "
                      "out, and choose an X11 (Xorg) session when you log in.");
  expectAlert(program);
}

}  // namespace
}  // namespace tapeloop::support
