#include <memory>

#include "app/app_delegate.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::FieldsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

class AppDelegateTest : public testing::SimulatedTest {
 protected:
  void launch() { delegate->applicationDidFinishLaunching(); }

  Settings settings{desktop.defaults};
  std::unique_ptr<AppDelegate> delegate =
      std::make_unique<AppDelegate>(desktop.services(), settings);
};

TEST_F(AppDelegateTest, LaunchWithPermissionSetsCaptionAndMenu) {
  settings.startStopButtonText.set("Stop Recording");
  launch();
  EXPECT_EQ(settings.startStopButtonText.get(), "Record");
  const auto submenu =
      ElementsAre(FieldsAre("About Tapeloop", MenuAction::orderFrontStandardAboutPanel, "", _, _),
                  FieldsAre(_, MenuAction::separator, _, _, _),
                  FieldsAre("Quit Tapeloop", MenuAction::terminate, "q", _, _));
  EXPECT_THAT(desktop.mainMenu.menu,
              FieldsAre("My App", ElementsAre(FieldsAre("", _, _, FieldsAre(_, submenu), _))));
  EXPECT_THAT(desktop.windows.records(), IsEmpty());
  EXPECT_THAT(posted(), IsEmpty());
  EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(AppDelegateTest, LaunchWithoutPermissionOpensAWindowAndClicks) {
  desktop.permission.granted = false;
  desktop.screens.pointer = Point{100, 200};
  desktop.screens.list = {{{{0, 0}, {1440, 900}}}, {{{1440, 0}, {1920, 1080}}}};
  launch();
  ASSERT_EQ(desktop.windows.records().size(), 1u);
  const auto& window = *desktop.windows.records()[0];
  EXPECT_TRUE(window.visible);
  EXPECT_TRUE(std::dynamic_pointer_cast<AuthorizeView>(window.view.lock()));
  EXPECT_THAT(posted(),
              ElementsAre(Pair(EventType::leftMouseDown, 0), Pair(EventType::leftMouseUp, 0)));
  for (const auto& [time, event] : desktop.eventSynthesis.posted()) {
    EXPECT_EQ(event.position, (Point{100, 700}));
    EXPECT_EQ(event.button, MouseButton::left);
  }
  // The user closes it: it is kept, and never opened again.
  std::dynamic_pointer_cast<Window>(desktop.windows.windows().at(0))->close();
  desktop.permission.granted = true;
  delegate->applicationWillUpdate();
  EXPECT_FALSE(window.visible);
  EXPECT_FALSE(window.view.expired());
}

TEST_F(AppDelegateTest, AClickThatCannotBePostedWholeLeavesNothingDown) {
  desktop.permission.granted = false;
  desktop.eventSynthesis.refuse(EventType::leftMouseUp);
  launch();
  EXPECT_EQ(posted().size(), 1u);
  EXPECT_THAT(desktop.eventSynthesis.heldButtons(), IsEmpty());
}

TEST_F(AppDelegateTest, ALaunchGoesOnWithoutWindowsAPressOrScreens) {
  desktop.permission.granted = false;
  desktop.windows.refuseWindows();
  desktop.eventSynthesis.refuse(EventType::leftMouseDown);
  launch();
  EXPECT_THAT(posted(), IsEmpty());
  desktop.screens.list.clear();
  launch();
}

TEST_F(AppDelegateTest, OnlyWindowsOfTheProgramsNameAreTouchedUp) {
  const auto main = desktop.windows.openWindow("Tapeloop");
  const auto other = desktop.windows.openWindow("tapeloop");
  const auto longer = desktop.windows.openWindow("Tapeloop ");
  delegate->applicationWillUpdate();
  const auto& records = desktop.windows.records();
  EXPECT_THAT(records[0]->operations, ElementsAre("setStandardWindowButtonHidden 2 true",
                                                  "setMovableByWindowBackground true"));
  EXPECT_THAT(records[1]->operations, IsEmpty());
  EXPECT_THAT(records[2]->operations, IsEmpty());
}

}  // namespace
}  // namespace tapeloop
