#include <memory>

#include "app/app_delegate.h"
#include "app/authorize_view.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AppDelegateTest : public testing::SimulatedTest {
 protected:
  void launch() { delegate->applicationDidFinishLaunching(); }

  Settings settings{desktop.defaults};
  std::unique_ptr<AppDelegate> delegate =
      std::make_unique<AppDelegate>(desktop.services(), settings);
};

TEST_F(AppDelegateTest, ALaunchWithPermissionResetsTheCaptionInstallsTheMenuAndNoMore) {
  settings.startStopButtonText.set("Stop Recording");
  launch();
  EXPECT_EQ(settings.startStopButtonText.get(), "Record");
  const Menu& bar = desktop.mainMenu.menu;
  EXPECT_EQ(bar.title, "My App");
  ASSERT_EQ(bar.items.size(), 1u);
  EXPECT_EQ(bar.items[0].title, "");
  const auto& items = bar.items[0].submenu.items;
  ASSERT_EQ(items.size(), 3u);
  EXPECT_EQ(items[0].title, "About Tapeloop");
  EXPECT_EQ(items[0].action, MenuAction::orderFrontStandardAboutPanel);
  EXPECT_EQ(items[0].keyEquivalent, "");
  EXPECT_EQ(items[1].action, MenuAction::separator);
  EXPECT_EQ(items[2].title, "Quit Tapeloop");
  EXPECT_EQ(items[2].action, MenuAction::terminate);
  EXPECT_EQ(items[2].keyEquivalent, "q");
  EXPECT_THAT(desktop.windows.records(), IsEmpty());
  EXPECT_THAT(posted(), IsEmpty());
  EXPECT_THAT(lines(), IsEmpty());
  for (const char* key : {"key", "playCount", "isMiniturized", "hideDuringRecording"}) {
    EXPECT_EQ(desktop.defaults.writes(key), 0u) << key;
  }
  EXPECT_TRUE(delegate->applicationShouldTerminateAfterLastWindowClosed());
}

TEST_F(AppDelegateTest, ALaunchWithoutPermissionOpensTheAuthorizationWindow) {
  desktop.permission.granted = false;
  launch();
  ASSERT_EQ(desktop.windows.records().size(), 1u);
  const auto& window = *desktop.windows.records()[0];
  EXPECT_THAT(
      window.operations,
      ElementsAre("createWindow 0 0 480 300 32783 2 false", "setReleasedWhenClosed false", "center",
                  "setTitlebarAppearsTransparent true", "setFrameAutosaveName Main Window",
                  "setContentView 0", "makeKeyAndOrderFront", "setLevel 3",
                  "setMovableByWindowBackground true", "setStandardWindowButtonHidden 1 true",
                  "setStandardWindowButtonHidden 2 true"));
  EXPECT_TRUE(std::dynamic_pointer_cast<AuthorizeView>(window.view.lock()));
  // The user closes it: it is kept, and never opened again.
  std::dynamic_pointer_cast<Window>(desktop.windows.windows().at(0))->close();
  desktop.permission.granted = true;
  delegate->applicationWillUpdate();
  EXPECT_FALSE(window.visible);
  EXPECT_FALSE(window.view.expired());
}

TEST_F(AppDelegateTest, ALaunchWithoutPermissionClicksWhereThePointerIs) {
  desktop.permission.granted = false;
  desktop.screens.pointer = Point{100, 200};
  desktop.screens.list = {{{{0, 0}, {1440, 900}}}, {{{1440, 0}, {1920, 1080}}}};
  launch();
  ASSERT_THAT(posted(), ElementsAre(TypeAndTime{EventType::leftMouseDown, 0.0},
                                    TypeAndTime{EventType::leftMouseUp, 0.0}));
  for (const auto& [time, event] : desktop.eventSynthesis.posted()) {
    EXPECT_EQ(event.position, (Point{100, 700}));
    EXPECT_EQ(event.button, MouseButton::left);
  }
  EXPECT_THAT(desktop.eventSynthesis.released(), IsEmpty());
}

TEST_F(AppDelegateTest, AClickThatCannotBePostedWholeLeavesNothingDown) {
  desktop.permission.granted = false;
  desktop.eventSynthesis.refuse(EventType::leftMouseUp);
  launch();
  EXPECT_EQ(posted().size(), 1u);
  EXPECT_THAT(desktop.eventSynthesis.heldButtons(), IsEmpty());
  desktop.eventSynthesis.refuse(EventType::leftMouseDown);
  launch();
  EXPECT_EQ(posted().size(), 1u);
}

TEST_F(AppDelegateTest, ALaunchGoesOnWithoutScreensAndWithoutWindows) {
  desktop.permission.granted = false;
  desktop.screens.list.clear();
  desktop.windows.refuseWindows();
  launch();
  EXPECT_THAT(posted(), IsEmpty());
  EXPECT_THAT(desktop.windows.records(), IsEmpty());
}

TEST_F(AppDelegateTest, OnlyWindowsOfTheProgramsNameAreTouchedUp) {
  const auto main = desktop.windows.openWindow("Tapeloop");
  const auto other = desktop.windows.openWindow("tapeloop");
  const auto longer = desktop.windows.openWindow("Tapeloop ");
  for (int update = 0; update < 2; ++update) delegate->applicationWillUpdate();
  const auto& records = desktop.windows.records();
  EXPECT_THAT(
      records[0]->operations,
      ElementsAre("setStandardWindowButtonHidden 2 true", "setMovableByWindowBackground true",
                  "setStandardWindowButtonHidden 2 true", "setMovableByWindowBackground true"));
  EXPECT_THAT(records[1]->operations, IsEmpty());
  EXPECT_THAT(records[2]->operations, IsEmpty());
}

}  // namespace
}  // namespace tapeloop
