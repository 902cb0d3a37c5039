#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "package/tour.h"

namespace tapeloop::support {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

using Orders = std::vector<std::string>;

/// What the entry in the menu of the desktop starts, in the session of a desktop on which the
/// package is installed.
std::vector<std::string> launcher() {
  const fs::path package(PACKAGE);
  std::ifstream entry(package / "usr/share/applications/io.tapeloop.Tapeloop.desktop");
  std::string line;
  while (std::getline(entry, line) && !line.starts_with("Exec=")) {
  }
  const std::string silence = " >/dev/null";
  const auto silenced = line.find(silence);
  if (silenced == std::string::npos) throw std::runtime_error("no entry, or one that is traced");
  // The tests read the trace.
  const std::string command = line.erase(silenced, silence.size()).substr(5);
  // Nothing of what follows the launcher is looked at.
  return {"sh", "-c", "PATH='" + (package / "usr/bin").string() + "':$PATH; cd; exec " + command,
          "desktop"};
}

/// A whole session: from the menu of the desktop to the last deletion, with the form of an order to
/// be filled in. What counts is which orders arrive.
class SessionTests : public Tour {
 protected:
  static constexpr std::chrono::seconds wait{1};
  static constexpr int speed = 2;

  SessionTests() {
    const std::ofstream empty(sent);
    EXPECT_TRUE(desktop.waitForWindows("Order", 1));
    list.emplace(desktop,
                 std::vector<std::string>{"xterm", "-T", "Orders that arrived", "-geometry",
                                          "66x8+240+520", "-e", "tail", "-f", sent.string()});
    EXPECT_TRUE(desktop.waitForWindows("Orders that arrived", 1));
  }

  void start(std::optional<Program>& program) {
    program.emplace(desktop, std::vector<std::string>{}, data.path(), launcher());
    awaitStart();
  }
  void end(std::optional<Program>& program) {
    program->click("Close");
    ASSERT_EQ(program->exitCode(), 0);
    program.reset();
  }

  void toggleSidebar(Program& program) {
    program.click("Toggle Sidebar");
    ASSERT_TRUE(desktop.waitForRest());
  }

  Orders orders() const { return linesOf(sent); }
  // When the order with this number was there.
  std::optional<steady_clock::time_point> arrival(std::size_t number) const {
    if (!eventually([&] { return orders().size() >= number; })) return std::nullopt;
    return steady_clock::now();
  }

  // The pointer rests before it clicks, and the button stays down for a while.
  void clickUnhurried(const Element& element) const {
    const auto place = element.place();
    const auto x = static_cast<std::int16_t>(place.x + place.width / 2);
    const auto y = static_cast<std::int16_t>(place.y + place.height / 2);
    user.run({{.kind = XEventKind::motion, .x = x, .y = y, .offset = moment / 2},
              {.kind = XEventKind::buttonPress, .detail = 1, .offset = moment},
              {.kind = XEventKind::buttonRelease, .detail = 1, .offset = moment * 6 / 5}});
  }
  // The form does not relate fields to labels; the field is the one to the right of the label.
  Element labelled(const std::string& label) {
    const auto place = form.named(Role::label, label).place();
    const auto found = form.accessible().find([&](const Element& element) {
      const Role role = element.role();
      const auto other = element.place();
      return (role == Role::text || role == Role::comboBox) && other.x > place.x &&
             other.y <= place.y && other.y + other.height >= place.y + place.height;
    });
    if (!found) throw std::runtime_error("no field for " + label);
    return *found;
  }
  // The form begins with its first field, and no keys come after a click: a window manager that is
  // busy holds the click back, and not the keys.
  void fillIn(const std::string& name, const std::string& address) {
    const Element first = labelled("Name");
    const Element second = labelled("E-mail");
    ASSERT_TRUE(eventually([&] { return first.is(State::focused); }));
    type(name);
    user.tapKey("Tab");
    type(address);
    ASSERT_TRUE(eventually([&] { return first.text() == name && second.text() == address; }))
        << first.text() << ", " << second.text();
    clickUnhurried(labelled("Size"));
    clickUnhurried(form.named(Role::menuItem, "Medium"));
    const Element box = form.named(Role::checkBox, "Wrapped as a present");
    clickUnhurried(box);
    ASSERT_TRUE(eventually([&] { return box.is(State::checked); }));
  }
  // By its frame, so that nothing in it is touched.
  void goToForm() {
    const auto window = desktop.window("Order");
    user.moveTo(window.x + window.width / 2, window.y - 8);
    user.click(1);
    ASSERT_TRUE(desktop.waitForFocus("Order", 0));
  }
  void setRepeatsWaitAndSpeed(Program& program) {
    program.click(program.named(Role::checkBox, "Repeat Playback"));
    clickIntoFocus(program, program.named(Role::slider, "Repeat 5 Times"));
    user.tapKey("Home");
    for (int i = 0; i < 3; ++i) user.tapKey("Right");
    (void)program.named(Role::slider, "Repeat 3 Times");
    program.click(program.named(Role::checkBox, "Wait Before Repeating"));
    const Element picker = program.named(Role::comboBox, "Wait Time");
    ASSERT_TRUE(eventually([&] { return Program::isOn(picker); }));
    program.click(picker);
    (void)program.named(Role::listItem, "5");
    for (int i = 5; i > wait.count(); --i) user.tapKey("Up");
    user.tapKey("Return");
    ASSERT_TRUE(program.loses(Role::listItem, "5"));
    clickIntoFocus(program, program.named(Role::slider, "Playback Speed"));
    user.tapKey("Home");
    for (int i = 1; i < speed; ++i) user.tapKey("Right");
    (void)program.named(Role::label, "Playback Speed: 2x");
  }
  void send() { clickUnhurried(form.named(Role::button, "Send")); }

  const Orders::value_type ada = "Ada Lovelace|ada@example.org|Medium|TRUE";
  const fs::path sent = data.path() / "orders";
  Application form{desktop, {ORDER_FORM, sent.string()}};
  std::optional<Application> list;
};

TEST_F(SessionTests, AFormIsRecordedSavedPlayedAndDeleted) {
  std::optional<Program> program;
  start(program);
  picture("35-from-the-menu");
  program->openSettings();
  program->setShortcut("Record Shortcut", "r");
  program->setShortcut("Play Shortcut", "p");
  picture("36-both-shortcuts");
  program->saveSettings();

  goToForm();
  desktop.strike("r");
  ASSERT_TRUE(program->writes("Recording: true"));
  const auto begin = steady_clock::now();
  fillIn("Ada Lovelace", "ada@example.org");
  picture("37-form-filled-in");
  takePicture("recording", {0, 0, 1200, 670});
  send();
  ASSERT_TRUE(arrival(1));
  picture("38-form-sent");
  const auto recorded = steady_clock::now() - begin;
  desktop.strike("r");
  ASSERT_TRUE(program->writes("Recording: false"));
  EXPECT_EQ(orders(), Orders{ada}) << "and nothing of the shortcut";
  program->click("Save Recording");
  (void)program->named(Role::listItem, "New Recording");
  picture("39-form-saved");
  end(program);

  start(program);
  toggleSidebar(*program);
  program->click("Load Recording");
  ASSERT_TRUE(program->writes("Load Recording"));
  picture("40-loaded-after-a-restart");
  ASSERT_TRUE(program->loses(Role::alert, "Recording Loaded")) << "it would take a click";
  toggleSidebar(*program);
  program->openSettings();
  setRepeatsWaitAndSpeed(*program);
  picture("41-repeat-wait-and-speed");
  program->saveSettings();

  goToForm();
  desktop.strike("p");
  ASSERT_TRUE(saysHowToStop());
  ASSERT_TRUE(eventually([&] { return !labelled("E-mail").text().empty(); }));
  takePicture("42-form-played");
  auto last = arrival(2);
  for (std::size_t number = 3; number <= 4; ++number) {
    const auto next = arrival(number);
    ASSERT_TRUE(last && next);
    // As long as the wait and half of the recording, give or take what a busy machine adds.
    EXPECT_GT(*next - *last, wait + recorded / speed / 2);
    EXPECT_LT(*next - *last, wait + recorded * 3 / 4);
    last = next;
    if (number == 3) picture("43-between-two-runs");
  }
  ASSERT_TRUE(program->writes("stopped playing"));
  picture("44-three-runs");
  EXPECT_EQ(orders(), Orders(4, ada));

  desktop.strike("p");
  ASSERT_TRUE(arrival(5));
  user.tapKey("Escape");
  ASSERT_TRUE(program->writes("Escape Key Pressed"));
  picture("45-stopped-between-two-runs");
  // The next run would come while the user fills in the form.
  fillIn("Charles Babbage", "charles@example.org");
  send();
  ASSERT_TRUE(arrival(6));
  Orders all(5, ada);
  all.push_back("Charles Babbage|charles@example.org|Medium|TRUE");
  EXPECT_EQ(orders(), all);

  toggleSidebar(*program);
  program->click("Delete Recording");
  ASSERT_TRUE(program->loses(Role::listItem, "New Recording"));
  end(program);
  start(program);
  toggleSidebar(*program);
  EXPECT_TRUE(program->loses(Role::listItem, "New Recording"));
  picture("46-deleted");
  goToForm();
  desktop.strike("p");
  (void)program->named(Role::button, "Dismiss");
  EXPECT_EQ(orders(), all);
}

}  // namespace
}  // namespace tapeloop::support
