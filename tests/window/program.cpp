#include "window/program.h"

#include <algorithm>
#include <stdexcept>

#include "platform/linux/sqlite_defaults_store.h"

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

bool TestDesktop::waitForFreePointer() const {
  const bool isFree = eventually([this] {
    const XOwned<xcb_grab_pointer_reply_t> grab(xcb_grab_pointer_reply(
        connection_,
        xcb_grab_pointer(connection_, 0, connection_.root(), 0, XCB_GRAB_MODE_ASYNC,
                         XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME),
        nullptr));
    return grab && grab->status == XCB_GRAB_STATUS_SUCCESS;
  });
  xcb_ungrab_pointer(connection_, XCB_CURRENT_TIME);
  connection_.sync();
  return isFree;
}

std::vector<std::uint32_t> TestDesktop::property(const std::string& title, std::size_t index,
                                                 const std::string& name) const {
  const XOwned<xcb_get_property_reply_t> property(
      xcb_get_property_reply(connection_,
                             xcb_get_property(connection_, 0, managed(title).at(index),
                                              connection_.atom(name), XCB_ATOM_ANY, 0, 100),
                             nullptr));
  if (!property || property->format != 32) return {};
  const auto* numbers = static_cast<const std::uint32_t*>(xcb_get_property_value(property.get()));
  return {numbers, numbers + property->value_len};
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

void TestDesktop::askAboutNewest(const std::string& title, const char* what,
                                 const std::array<std::uint32_t, 5>& data) const {
  const auto windows = managed(title);
  if (windows.empty()) throw std::runtime_error("no window " + title);
  xcb_client_message_event_t request{};
  request.response_type = XCB_CLIENT_MESSAGE;
  request.format = 32;
  request.window = windows.back();
  request.type = connection_.atom(what);
  std::ranges::copy(data, request.data.data32);
  xcb_send_event(connection_, 0, connection_.root(),
                 XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                 reinterpret_cast<const char*>(&request));
  connection_.sync();
}

void TestDesktop::closeNewest(const std::string& title) const {
  askAboutNewest(title, "_NET_CLOSE_WINDOW", {});
}

void TestDesktop::moveNewest(const std::string& title, int x, int y) const {
  constexpr std::uint32_t positionIsGiven = 3U << 8U;
  askAboutNewest(title, "_NET_MOVERESIZE_WINDOW",
                 {positionIsGiven, static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)});
}

void store(const std::filesystem::path& dataFolder,
           const std::vector<std::pair<std::string, DefaultsValue>>& values) {
  const auto opened =
      linux::SqliteDefaultsStore::open(dataFolder / "tapeloop" / "defaults.sqlite3");
  for (const auto& [key, value] : values) {
    if (!opened.store || opened.store->setObjectForKey(value, key) != StoreStatus::stored) {
      throw std::runtime_error("the store does not take " + key);
    }
  }
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

bool Program::captures(const std::string& what) {
  for (std::size_t i = 0;; ++i) {
    const auto line = process().waitForLine(i, generousLimit);
    if (!line) return false;
    if (line->starts_with("Optional(" + what)) return true;
  }
}

std::vector<std::string> Program::complaints() {
  constexpr std::string_view name = "tapeloop: ";
  std::vector<std::string> sentences;
  for (const auto& line : process().lines()) {
    if (line.starts_with(name)) sentences.push_back(line.substr(name.size()));
  }
  return sentences;
}

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

bool Program::recordsAClick() {
  if (!recordButton().press() || !writes("Recording: true")) return false;
  desktop().user().moveTo(1100, 700);
  desktop().user().click(1);
  return named("push button", "Stop Recording").press() && writes("Recording: false");
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
