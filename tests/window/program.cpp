#include "window/program.h"

#include <stdexcept>

namespace tapeloop::support {
namespace {

// The shell joins standard error to the lines and gives way.
const std::vector<std::string> withStandardError{"sh", "-c", "exec \"$@\" 2>&1", "sh"};

std::vector<std::string> joined(std::vector<std::string> texts,
                                const std::vector<std::string>& more) {
  texts.insert(texts.end(), more.begin(), more.end());
  return texts;
}

}  // namespace

TestDesktop::TestDesktop(const XServerOptions& options)
    : server_(options),
      windowManager_({"openbox"}, {server_.displayVariable()}),
      user_(server_.display()),
      connection_(server_.display()) {
  const bool managed = eventually([this] {
    const XOwned<xcb_get_property_reply_t> check(xcb_get_property_reply(
        connection_,
        xcb_get_property(connection_, 0, connection_.root(),
                         connection_.atom("_NET_SUPPORTING_WM_CHECK"), XCB_ATOM_WINDOW, 0, 1),
        nullptr));
    return check && xcb_get_property_value_length(check.get()) > 0;
  });
  if (!managed) throw std::runtime_error("the window manager did not start");
}

void TestDesktop::strike(const char* key) const {
  for (const char* each : {"Control_L", "Alt_L", key}) user_.pressKey(each);
  for (const char* each : {key, "Alt_L", "Control_L"}) user_.releaseKey(each);
}

std::string TestDesktop::titleOf(xcb_window_t window) const {
  const XOwned<xcb_get_property_reply_t> title(xcb_get_property_reply(
      connection_,
      xcb_get_property(connection_, 0, window, connection_.atom("_NET_WM_NAME"), XCB_ATOM_ANY, 0,
                       100),
      nullptr));
  if (!title) return {};
  return {static_cast<const char*>(xcb_get_property_value(title.get())),
          static_cast<std::size_t>(xcb_get_property_value_length(title.get()))};
}

std::vector<xcb_window_t> TestDesktop::managed(const std::string& title) const {
  const XOwned<xcb_get_property_reply_t> list(xcb_get_property_reply(
      connection_,
      xcb_get_property(connection_, 0, connection_.root(), connection_.atom("_NET_CLIENT_LIST"),
                       XCB_ATOM_WINDOW, 0, 1000),
      nullptr));
  std::vector<xcb_window_t> found;
  if (!list) return found;
  const auto* windows = static_cast<const xcb_window_t*>(xcb_get_property_value(list.get()));
  const auto count = xcb_get_property_value_length(list.get()) / 4;
  for (int i = 0; i < count; ++i) {
    if (titleOf(windows[i]) == title) found.push_back(windows[i]);
  }
  return found;
}

std::vector<ClientWindow> TestDesktop::windows(const std::string& title) const {
  std::vector<ClientWindow> found;
  for (const auto window : managed(title)) {
    const XOwned<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
        connection_, xcb_get_window_attributes(connection_, window), nullptr));
    if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE) continue;
    const XOwned<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
    const XOwned<xcb_translate_coordinates_reply_t> place(xcb_translate_coordinates_reply(
        connection_, xcb_translate_coordinates(connection_, window, connection_.root(), 0, 0),
        nullptr));
    if (size && place) found.push_back({place->dst_x, place->dst_y, size->width, size->height});
  }
  return found;
}

bool TestDesktop::waitForWindows(const std::string& title, std::size_t count) const {
  return eventually([&] { return windows(title).size() == count; });
}

bool TestDesktop::waitForFocus(const std::string& title, std::size_t index) const {
  return eventually([&] {
    const auto windows = managed(title);
    const XOwned<xcb_get_property_reply_t> active(xcb_get_property_reply(
        connection_,
        xcb_get_property(connection_, 0, connection_.root(), connection_.atom("_NET_ACTIVE_WINDOW"),
                         XCB_ATOM_WINDOW, 0, 1),
        nullptr));
    return index < windows.size() && active && xcb_get_property_value_length(active.get()) == 4 &&
           *static_cast<const xcb_window_t*>(xcb_get_property_value(active.get())) ==
               windows[index];
  });
}

std::uint32_t TestDesktop::pixel(int x, int y) const {
  const XOwned<xcb_get_image_reply_t> image(xcb_get_image_reply(
      connection_,
      xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, connection_.root(),
                    static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 1, 1, ~0U),
      nullptr));
  if (!image) return 0;
  const auto* bytes = xcb_get_image_data(image.get());
  return static_cast<std::uint32_t>(bytes[2] << 16 | bytes[1] << 8 | bytes[0]);
}

void TestDesktop::closeNewest(const std::string& title) const {
  const auto windows = managed(title);
  if (windows.empty()) throw std::runtime_error("no window to close");
  xcb_client_message_event_t close{};
  close.response_type = XCB_CLIENT_MESSAGE;
  close.format = 32;
  close.window = windows.back();
  close.type = connection_.atom("_NET_CLOSE_WINDOW");
  xcb_send_event(connection_, 0, connection_.root(),
                 XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                 reinterpret_cast<const char*>(&close));
  connection_.sync();
}

Application::Application(TestDesktop& desktop, const std::vector<std::string>& command,
                         const std::optional<std::filesystem::path>& dataFolder)
    : desktop_(desktop),
      process_(joined(withStandardError, command),
               joined(AccessibilityBus::instance().environment(),
                      {desktop.server().displayVariable(),
                       "XDG_RUNTIME_DIR=" + folder_.path().string(), "QT_SCALE_FACTOR=1",
                       "XDG_DATA_HOME=" + dataFolder.value_or(folder_.path() / "data").string()})) {
}

Element Application::accessible() {
  std::optional<Element> found;
  const bool came = eventually([&] {
    found = AccessibilityBus::instance().program(process_.pid());
    return found.has_value();
  });
  if (!came) throw std::runtime_error("the program has not come to the accessibility bus");
  return *found;
}

Element Application::named(const std::string& role, const std::string& name) {
  const Element program = accessible();
  std::optional<Element> found;
  const bool came = eventually([&] {
    found = program.find([&](const Element& element) {
      return element.name() == name && element.role() == role && element.is(State::showing);
    });
    return found.has_value();
  });
  if (!came) throw std::runtime_error("no " + role + " " + name + " in\n" + program.outline());
  return *found;
}

bool Application::loses(const std::string& role, const std::string& name) {
  const Element program = accessible();
  return eventually([&] {
    return !program.find([&](const Element& element) {
      return element.name() == name && element.role() == role && element.is(State::showing);
    });
  });
}

void Application::point(const Element& element) {
  const auto place = element.place();
  desktop_.user().moveTo(place.x + place.width / 2, place.y + place.height / 2);
}

void Application::click(const Element& element) {
  const auto place = element.place();
  desktop_.user().moveTo(place.x + place.width / 2 + aside_, place.y + place.height / 2);
  desktop_.user().click(1);
  aside_ = -aside_;
}

Program::Program(TestDesktop& desktop, const std::vector<std::string>& arguments,
                 const std::optional<std::filesystem::path>& dataFolder,
                 const std::vector<std::string>& launcher)
    : Application(desktop, joined(joined(launcher, {TAPELOOP_PROGRAM}), arguments), dataFolder) {}

Element Program::recordButton() {
  const auto button = accessible().find([](const Element& element) {
    const auto name = element.name();
    return element.role() == "push button" &&
           (name == "Record" || name == "Stop Recording" || name.starts_with("Click outside"));
  });
  if (!button) throw std::runtime_error("no record button");
  return *button;
}

bool Program::openSettings() {
  click("Settings");
  const Element sheet = named("dialog", "Settings");
  const Element title = named("heading", "Settings");
  return eventually([&] { return title.place().y - sheet.place().y >= 12; });
}

bool Program::setShortcut(const std::string& field, const char* key) {
  const auto says = [&](const std::string& what) {
    return eventually([&] { return named("text", field).description() == what; });
  };
  click(named("text", field));
  if (!says("Press Shortcut")) return false;
  desktop().strike(key);
  return says("Set Shortcut");
}

}  // namespace tapeloop::support
