#include <algorithm>
#include <csignal>
#include <fstream>
#include <vector>

#include "package/tour.h"

namespace tapeloop::support {
namespace {

namespace fs = std::filesystem;

/// The program beside a terminal: one desktop and one data folder for one run after the other.
class TourTests : public Tour {
 protected:
  TourTests() { EXPECT_TRUE(desktop.waitForWindows("Terminal", 1)); }

  void recordInTheTerminal();
  void setRepeatsAndShortcuts();
  void recordByShortcut(Program& program);
  void useOnADarkDesktop();
  void useOnScreensWithMorePixels();

  void awaitAlert() {
    ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 2));
    ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 1));
  }
  void dismissAlert(const char* key = "Return") {
    user.tapKey(key);
    awaitStart();
  }
  void pictureOfAlert(const std::string& name) {
    awaitAlert();
    picture(name);
    dismissAlert();
  }
  void endProgram(Program& program) {
    program.process().kill(SIGTERM);
    ASSERT_EQ(program.exitCode(), 128 + SIGTERM);
  }
  void clickTerminal() {
    user.moveTo(800, 500);
    user.click(1);
    ASSERT_TRUE(desktop.waitForFocus("Terminal", 0));
  }
  // How often the terminal has got this line.
  bool receives(const std::string& line, int times) {
    return eventually([&] { return std::ranges::count(linesOf(received), line) == times; });
  }
  // The circle beside "REC" blinks.
  void awaitRecording(Program& program) {
    ASSERT_TRUE(program.writes("Recording: true"));
    ASSERT_TRUE(eventually([this] { return desktop.pixel(45, 5) == 0xdc5a50; }));
  }

  const fs::path received = data.path() / "received";
  Application terminal{desktop,
                       {"xterm", "-T", "Terminal", "-geometry", "70x14+600+420", "-e", "sh", "-c",
                        "stty -echo; exec tee '" + received.string() + "'"}};
};

void TourTests::recordInTheTerminal() {
  Program program(desktop, {}, data.path());
  awaitStart();
  picture("01-idle");
  program.click("Play");
  pictureOfAlert("02-nothing-to-play");

  program.click("Record");
  awaitRecording(program);
  picture("03-armed");
  clickTerminal();
  for (const auto& [x, y] : {std::pair(760, 520), {720, 560}, {800, 600}, {840, 560}, {800, 520}}) {
    user.moveTo(x, y);
  }
  user.click(4);
  user.click(5);
  type("Hello, Tapeloop: 3 < 4");
  user.tapKey("Return");
  ASSERT_TRUE(receives("Hello, Tapeloop: 3 < 4", 1));
  picture("04-capturing");
  program.click("Stop Recording");
  ASSERT_TRUE(program.writes("Recording: false"));
  picture("05-recorded");

  program.click("Play");
  ASSERT_TRUE(saysHowToStop());
  takePicture("06-playing");
  ASSERT_TRUE(program.writes("stopped playing"));
  ASSERT_TRUE(receives("Hello, Tapeloop: 3 < 4", 2));
  picture("07-played");

  program.click("Save Recording");
  (void)program.named(Role::alert, "Recording Saved");
  picture("08-saved");
  const Element row = program.named(Role::listItem, "New Recording");
  program.point(row);
  picture("09-row");
  const ClientWindow window = desktop.window();
  user.press(1);
  ASSERT_TRUE(eventually([&] {
    user.moveTo(window.x + 160, window.y + 108);
    user.moveTo(window.x + 150, window.y + 112);
    return desktop.pixel(window.x + 95, window.y + 140) == 0xc3dbf8;
  }));
  picture("10-drag");
  user.release(1);
  (void)program.named(Role::alert, "Recording Loaded");
  picture("11-loaded");
  ASSERT_TRUE(program.loses(Role::alert, "Recording Loaded"));
  clickIntoFocus(program, program.named(Role::text, "Recording Name"));
  user.strike({"Control_L", "a"});
  type("Greeting");
  user.tapKey("Return");
  ASSERT_TRUE(program.writes("Saving name."));
  picture("12-renamed");
  takePicture("library", window);
  program.point(row);
  user.click(3);
  program.point(program.named(Role::menuItem, "Load Recording"));
  picture("13-row-menu");
  user.tapKey("Escape");

  click(program, "Menu");
  (void)program.named(Role::menuItem, "About Tapeloop");
  user.tapKey("Down");
  picture("14-menu");
  user.tapKey("Return");
  ASSERT_TRUE(desktop.waitForFocus("About Tapeloop", 0));
  picture("15-about");
  user.tapKey("Escape");
  ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
  program.click("Information");
  awaitAlert();
  picture("16-information");
  dismissAlert("Escape");
  endProgram(program);
}

void TourTests::setRepeatsAndShortcuts() {
  Program program(desktop, {}, data.path());
  awaitStart();
  program.openSettings();
  picture("17-settings");
  program.click(program.named(Role::checkBox, "Repeat Playback"));
  program.click(program.named(Role::checkBox, "Wait Before Repeating"));
  picture("18-repeat");
  clickIntoFocus(program, program.named(Role::slider, "Repeat 5 Times"));
  user.tapKey("Home");
  picture("19-unlimited");
  program.click(program.named(Role::text, "Record Shortcut"));
  picture("20-press-shortcut");
  desktop.strike("r");
  picture("21-shortcut");
  program.click(program.named(Role::text, "Play Shortcut"));
  ASSERT_TRUE(program.says("Play Shortcut", "Press Shortcut"));
  user.strike({"Control_L", "q"});
  pictureOfAlert("22-used-by-menu");
  user.strike({"Alt_L", "Escape"});  // the window manager's
  pictureOfAlert("23-used-by-desktop");
  desktop.strike("p");
  ASSERT_TRUE(program.says("Play Shortcut", "Set Shortcut"));
  user.tapKey("Return");
  ASSERT_TRUE(program.writes("Saving Settings..."));
  recordByShortcut(program);
  endProgram(program);
}

void TourTests::recordByShortcut(Program& program) {
  clickTerminal();
  desktop.strike("r");
  awaitRecording(program);
  type("Recorded without touching the mouse");
  user.tapKey("Return");
  ASSERT_TRUE(receives("Recorded without touching the mouse", 1));
  picture("24-recorded-by-shortcut");
  desktop.strike("r");
  ASSERT_TRUE(program.writes("Recording: false"));
  desktop.strike("p");
  ASSERT_TRUE(receives("Recorded without touching the mouse", 2));
  ASSERT_TRUE(saysHowToStop());
  picture("25-played-by-shortcut");
  user.tapKey("Escape");
  ASSERT_TRUE(program.writes("stopped playing"));
}

void TourTests::useOnADarkDesktop() {
  std::ofstream colors(data.path() / "kdeglobals");
  for (const char* group : {"Window", "View", "Button", "Tooltip", "Selection"}) {
    colors << "[Colors:" << group << "]\nForegroundNormal=252,252,252\nBackgroundNormal="
           << (group == std::string("Selection") ? "61,174,233\n" : "42,46,50\n");
  }
  colors.close();
  fs::permissions(data.path() / "tapeloop", fs::perms(0500));
  std::vector<std::string> launcher{"env", "XDG_CONFIG_HOME=" + data.path().string(),
                                    "XDG_CURRENT_DESKTOP=KDE", "KDE_SESSION_VERSION=5"};
  const auto unprivileged = asOrdinaryUser();
  launcher.insert(launcher.end(), unprivileged.begin(), unprivileged.end());
  Program program(desktop, {}, data.path(), launcher);
  pictureOfAlert("26-start-without-permission-dark");
  program.click("Play");
  pictureOfAlert("27-nothing-to-play-dark");
  program.recordClick();
  program.click("Save Recording");
  pictureOfAlert("28-not-saved-dark");
  fs::permissions(data.path() / "tapeloop", fs::perms::owner_all);
  picture("29-dark");
  click(program, "Menu");
  (void)program.named(Role::menuItem, "About Tapeloop");
  user.tapKey("Down");
  user.tapKey("Return");
  ASSERT_TRUE(desktop.waitForFocus("About Tapeloop", 0));
  picture("30-about-dark");
  user.tapKey("Escape");
  click(program, "Toggle Sidebar");
  program.openSettings();
  picture("31-settings-dark");
  takePicture("settings", desktop.window());
  endProgram(program);
}

// Without the pointer: where the elements are is not told in pixels of the screen.
void TourTests::useOnScreensWithMorePixels() {
  {
    Program program(desktop, {}, data.path(), {"env", "QT_SCALE_FACTOR=1.5"});
    awaitStart();
    program.press("Toggle Sidebar");
    picture("32-half-as-large-again");
    endProgram(program);
  }
  Program program(desktop, {}, data.path(), {"env", "QT_SCALE_FACTOR=2"});
  awaitStart();
  program.press("Toggle Sidebar");
  picture("33-twice-the-size");
  program.press("Toggle Sidebar");
  ASSERT_TRUE(desktop.waitForRest());
  program.press("Settings");
  picture("34-settings-twice-the-size");
  endProgram(program);
}

TEST_F(TourTests, OneUserAndATerminal) {
  recordInTheTerminal();
  setRepeatsAndShortcuts();
  useOnADarkDesktop();
  useOnScreensWithMorePixels();
}

/// The windows that are there without the permission, side by side.
class AuthorizationTour : public Tour {
 protected:
  explicit AuthorizationTour(const XServerOptions& options = {}) : Tour(options) {
    store(data.path(), {{"Window Frame Tapeloop", "181 111"}});
  }
};

class ExtensionTour : public AuthorizationTour {
 protected:
  // That server lacks what posting needs, too, and so nobody presses a button there.
  ExtensionTour() : AuthorizationTour({.arguments = {"-extension", "RECORD"}}) {}
};

TEST_F(ExtensionTour, IsMissing) {
  Program program(desktop, {}, data.path());
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 2));
  picture("47-authorization");
}

TEST_F(AuthorizationTour, UnderWayland) {
  Program program(desktop, {}, data.path(),
                  {"env", std::string("LD_PRELOAD=") + PRETENDED_WAYLAND});
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 2));
  desktop.moveNewest("Tapeloop", 700, 219);
  click(program, "Record");
  (void)program.named(Role::alert, "Tapeloop");
  picture("48-authorization-alert");
}

}  // namespace
}  // namespace tapeloop::support
