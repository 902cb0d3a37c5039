#include "package/tour.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace tapeloop::support {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

Tour::Tour(const XServerOptions& options) : desktop(options) {
  fs::create_directories(PICTURES);
  ChildProcess background(
      {"xsetroot", "-display", desktop.server().display(), "-solid", "#51606b"});
  (void)background.wait(generousLimit);
}

void Tour::TearDown() {
  if (HasFailure()) takePicture("failed");
}

void Tour::takePicture(const std::string& name, const ClientWindow& area) {
  const std::string file = PICTURES "/" + name + ".png";
  const std::string crop = std::to_string(area.width) + 'x' + std::to_string(area.height) + '+' +
                           std::to_string(area.x) + '+' + std::to_string(area.y);
  ChildProcess import({"import", "-display", desktop.server().display(), "-window", "root", "-crop",
                       crop, "+repage", file});
  ASSERT_EQ(import.wait(generousLimit), 0);
  std::printf("%s\n", file.c_str());
  std::fflush(stdout);
  const char* const last = std::getenv("TOUR_ENDS_WITH");
  if (last && name == last) std::_Exit(0);
}

void Tour::picture(const std::string& name, const ClientWindow& area) {
  ASSERT_TRUE(desktop.waitForRest());
  takePicture(name, area);
}

void Tour::awaitStart() {
  ASSERT_TRUE(desktop.waitForWindows("Tapeloop", 1));
  ASSERT_TRUE(desktop.waitForFocus("Tapeloop", 0));
  ASSERT_TRUE(desktop.waitForRest());
}

void Tour::click(Application& application, const std::string& button) {
  const Element element = application.named(Role::button, button);
  ASSERT_TRUE(desktop.waitForRest());
  application.click(element);
}

void Tour::clickIntoFocus(Application& application, const Element& element) {
  application.click(element);
  ASSERT_TRUE(eventually([&] { return element.is(State::focused); })) << element.name();
}

void Tour::type(const std::string& text) const {
  auto keys = user.typing(text);
  pace(keys, milliseconds(15));
  for (XAction& key : keys) key.offset += moment / 2;
  user.run(keys);
}

std::vector<std::string> Tour::linesOf(const fs::path& file) {
  std::ifstream stream(file);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

bool Tour::saysHowToStop() const {
  return eventually([this] { return desktop.pixel(556, 5) == 0xdc5a50; });
}

}  // namespace tapeloop::support
