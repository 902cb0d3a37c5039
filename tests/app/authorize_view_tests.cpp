#include "app/authorize_view.h"
#include "support/simulated_fixture.h"

namespace tapeloop {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AuthorizeViewTest : public testing::SimulatedTest {
 protected:
  AuthorizeView view{desktop.workspace, desktop.trace};
  InformationButton& button() { return view.informationButton(); }
};

TEST_F(AuthorizeViewTest, TheInformationButtonRaisesAnAlertThatIsDismissed) {
  button().press();
  EXPECT_TRUE(button().showingAlert.get());
  button().dismissAlert();
  EXPECT_FALSE(button().showingAlert.get());
  EXPECT_THAT(lines(), ElementsAre("Information Button Pressed.", "Dismiss button pressed."));
  EXPECT_THAT(desktop.workspace.opened, IsEmpty());
}

TEST_F(AuthorizeViewTest, ThePrivacyPolicyIsOpenedAndSaidOnlyIfItWas) {
  button().press();
  lines();
  button().openPrivacyPolicy();
  EXPECT_THAT(lines(),
              ElementsAre("Privacy Policy button pressed.", "Opening Privacy Policy webpage..."));
  EXPECT_FALSE(button().showingAlert.get());
  desktop.workspace.opens = false;
  button().press();
  lines();
  button().openPrivacyPolicy();
  EXPECT_THAT(lines(), ElementsAre("Privacy Policy button pressed."));
  EXPECT_FALSE(button().showingAlert.get());
  EXPECT_EQ(desktop.workspace.opened.size(), 2u);
}

TEST_F(AuthorizeViewTest, TheInformationButtonFollowsThePointer) {
  button().hover(true);
  EXPECT_TRUE(button().hoveringOverStart.get());
  EXPECT_EQ(button().infoButtonOpacity.get(), 0.75);
  button().hover(false);
  EXPECT_FALSE(button().hoveringOverStart.get());
  EXPECT_EQ(button().infoButtonOpacity.get(), 1.0);
}

}  // namespace
}  // namespace tapeloop
