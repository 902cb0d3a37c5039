#include "window/program.h"

#include <algorithm>
#include <array>
#include <span>
#include <stdexcept>
#include <string_view>

#include <unistd.h>

#include "platform/system/sqlite_defaults_store.h"
#include "support/recording_lists.h"

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
  const bool isManaged = eventually([this] {
    const char* const check = "_NET_SUPPORTING_WM_CHECK";
    return !connection_.property<xcb_window_t>(connection_.root(), check).empty();
  });
  if (!isManaged) throw std::runtime_error("the window manager did not start");
}

std::vector<xcb_window_t> TestDesktop::managed(const std::string& title) const {
  auto windows = connection_.property<xcb_window_t>(connection_.root(), "_NET_CLIENT_LIST");
  std::erase_if(windows, [&](xcb_window_t window) {
    const auto isCalled = [&](const char* property) {
      return std::ranges::equal(connection_.property<char>(window, property), title);
    };
    return !isCalled("_NET_WM_NAME") && !isCalled("WM_NAME");
  });
  return windows;
}

std::vector<ClientWindow> TestDesktop::windows(const std::string& title) const {
  std::vector<ClientWindow> found;
  for (const auto window : managed(title)) {
    const auto attributes = connection_.reply(xcb_get_window_attributes_reply,
                                              xcb_get_window_attributes(connection_, window));
    if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE) continue;
    const auto size =
        connection_.reply(xcb_get_geometry_reply, xcb_get_geometry(connection_, window));
    const auto place =
        connection_.reply(xcb_translate_coordinates_reply,
                          xcb_translate_coordinates(connection_, window, connection_.root(), 0, 0));
    if (size && place) found.push_back({place->dst_x, place->dst_y, size->width, size->height});
  }
  return found;
}

ClientWindow TestDesktop::window(const std::string& title) const {
  std::vector<ClientWindow> found;
  if (eventually([&] { return !(found = windows(title)).empty(); })) return found.front();
  throw std::runtime_error("no window " + title);
}

bool TestDesktop::waitForWindows(const std::string& title, std::size_t count) const {
  return eventually([&] { return windows(title).size() == count; });
}

bool TestDesktop::waitForFocus(const std::string& title, std::size_t index) const {
  return eventually([&] {
    const auto windows = managed(title);
    const auto active =
        connection_.property<xcb_window_t>(connection_.root(), "_NET_ACTIVE_WINDOW");
    return index < windows.size() && active == std::vector{windows[index]};
  });
}

bool TestDesktop::waitForFreePointer() const {
  const bool isFree = eventually([this] {
    const auto grab = connection_.reply(
        xcb_grab_pointer_reply,
        xcb_grab_pointer(connection_, 0, connection_.root(), 0, XCB_GRAB_MODE_ASYNC,
                         XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME));
    return grab && grab->status == XCB_GRAB_STATUS_SUCCESS;
  });
  xcb_ungrab_pointer(connection_, XCB_CURRENT_TIME);
  connection_.sync();
  return isFree;
}

std::vector<std::uint32_t> TestDesktop::property(const std::string& title, std::size_t index,
                                                 const std::string& name) const {
  return connection_.property<std::uint32_t>(managed(title).at(index), name);
}

XOwned<xcb_get_image_reply_t> TestDesktop::image(const ClientWindow& area) const {
  return connection_.reply(
      xcb_get_image_reply,
      xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, connection_.root(),
                    static_cast<std::int16_t>(area.x), static_cast<std::int16_t>(area.y),
                    static_cast<std::uint16_t>(area.width), static_cast<std::uint16_t>(area.height),
                    ~0U));
}

std::uint32_t TestDesktop::pixel(int x, int y) const {
  const auto found = image({x, y, 1, 1});
  if (!found) return 0;
  const auto* bytes = xcb_get_image_data(found.get());
  return static_cast<std::uint32_t>(bytes[2] << 16 | bytes[1] << 8 | bytes[0]);
}

bool TestDesktop::waitForRest() const {
  constexpr std::chrono::milliseconds moment{300};
  const ClientWindow all{0, 0, connection_.screen().width_in_pixels,
                         connection_.screen().height_in_pixels};
  std::vector<std::uint8_t> latest;
  auto since = std::chrono::steady_clock::now();
  return eventually([&] {
    const auto seen = image(all);
    if (!seen) return false;
    const std::span bytes(xcb_get_image_data(seen.get()),
                          static_cast<std::size_t>(xcb_get_image_data_length(seen.get())));
    const auto now = std::chrono::steady_clock::now();
    if (std::ranges::equal(bytes, latest)) return now - since > moment;
    latest.assign(bytes.begin(), bytes.end());
    since = now;
    return false;
  });
}

void TestDesktop::closeNewest(const std::string& title) const {
  xcb_client_message_event_t request{};
  request.response_type = XCB_CLIENT_MESSAGE;
  request.format = 32;
  request.window = managed(title).back();
  request.type = atom("_NET_CLOSE_WINDOW");
  xcb_send_event(connection_, 0, connection_.root(),
                 XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                 reinterpret_cast<const char*>(&request));
  connection_.sync();
}

void TestDesktop::moveNewest(const std::string& title, int x, int y) const {
  const std::array<int, 2> place{x, y};
  xcb_configure_window(connection_, managed(title).back(),
                       XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, place.data());
  connection_.sync();
}

void store(const std::filesystem::path& dataFolder,
           const std::vector<std::pair<std::string, DefaultsValue>>& values) {
  const auto opened =
      system::SqliteDefaultsStore::open(dataFolder / "tapeloop" / "defaults.sqlite3");
  for (const auto& [key, value] : values) {
    if (!opened.store || opened.store->setObjectForKey(value, key) != StoreStatus::stored) {
      throw std::runtime_error("the store does not take " + key);
    }
  }
}

std::string listOf(const std::vector<std::string>& titles) {
  std::vector<Recording> recordings(titles.size());
  for (std::size_t i = 0; i < titles.size(); ++i) {
    recordings[i].title = titles[i];
    recordings[i].uniqueID = Uuid::random();
  }
  return testing::listText(recordings);
}

std::vector<std::string> asOrdinaryUser() {
  if (geteuid() != 0) return {};
  return {"setpriv", "--bounding-set", "-dac_override,-dac_read_search,-fowner"};
}

Application::Application(TestDesktop& desktop, const std::vector<std::string>& command,
                         const std::optional<std::filesystem::path>& dataFolder)
    : desktop_(desktop),
      process_(
          joined(withStandardError, command),
          joined(AccessibilityBus::instance().environment(),
                 {desktop.server().displayVariable(), "XDG_RUNTIME_DIR=" + folder_.path().string(),
                  "QT_SCALE_FACTOR=1",
                  "XDG_DATA_HOME=" + dataFolder.value_or(folder_.path() / "data").string(),
                  "XDG_CACHE_HOME=" + dataFolder.value_or(folder_.path()).string() + "/cache"})) {}

Element Application::accessible() {
  std::optional<Element> found;
  const bool came = eventually([&] {
    found = AccessibilityBus::instance().program(process_.pid());
    return found.has_value();
  });
  if (!came) throw std::runtime_error("the program has not come to the accessibility bus");
  return *found;
}

std::optional<Element> Application::find(Role role, const std::string& name) {
  return accessible().find([&](const Element& element) {
    return element.name() == name && element.role() == role && element.is(State::showing);
  });
}

Element Application::named(Role role, const std::string& name) {
  std::optional<Element> found;
  if (eventually([&] { return (found = find(role, name)).has_value(); })) return *found;
  throw std::runtime_error("no " + toString(role) + " " + name + " in\n" + accessible().outline());
}

bool Application::loses(Role role, const std::string& name) {
  return eventually([&] { return !find(role, name); });
}

bool Application::focuses(const std::string& name) {
  return eventually([&] {
    const auto focus = accessible().find([&](const Element& element) {
      return element.name() == name && element.is(State::focused);
    });
    return focus.has_value();
  });
}

void Application::press(const std::string& button) {
  if (!named(Role::button, button).press()) throw std::runtime_error(button + " takes no press");
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
  return process().waitUntil([&](const auto&) { return captureCount(what) > 0; }, generousLimit);
}

std::size_t Program::captureCount(const std::string& what) {
  const auto isEvent = [&](const std::string& line) {
    return line.starts_with("Optional(" + what);
  };
  return static_cast<std::size_t>(std::ranges::count_if(process().lines(), isEvent));
}

std::vector<std::string> Program::complaints() {
  constexpr std::string_view name = "tapeloop: ";
  std::vector<std::string> sentences;
  for (const auto& line : process().lines()) {
    if (line.starts_with(name)) sentences.push_back(line.substr(name.size()));
  }
  return sentences;
}

std::string Program::dismissAlert() {
  const std::string message = named(Role::alert, "Tapeloop").description();
  press("Dismiss");
  if (!loses(Role::alert, "Tapeloop")) throw std::runtime_error("the alert does not go");
  return message;
}

std::optional<int> Program::close() {
  press("Close");
  return exitCode();
}

Element Program::recordButton() {
  const auto button = accessible().find([](const Element& element) {
    const auto name = element.name();
    return element.role() == Role::button &&
           (name == "Record" || name == "Stop Recording" || name.starts_with("Click outside"));
  });
  if (!button) throw std::runtime_error("no record button");
  return *button;
}

void Program::pressRecord(const char* line) {
  if (!recordButton().press() || !writes(line)) throw std::runtime_error("Record does nothing");
}

void Program::recordClick() {
  startCapture();
  desktop().user().moveTo(1100, 700);
  desktop().user().click(1);
  (void)named(Role::button, "Stop Recording");
  stopCapture();
}

void Program::saveRecording() {
  press("Save Recording");
  (void)named(Role::listItem, "New Recording");
}

void Program::openSettings() {
  click("Settings");
  const Element sheet = named(Role::dialog, "Settings");
  const Element title = named(Role::heading, "Settings");
  if (!eventually([&] { return title.place().y - sheet.place().y >= 12; })) {
    throw std::runtime_error("the sheet does not come");
  }
}

bool Program::says(const std::string& field, const std::string& what) {
  return eventually([&] { return named(Role::text, field).description() == what; });
}

void Program::setShortcut(const std::string& field, const char* key) {
  click(named(Role::text, field));
  if (says(field, "Press Shortcut")) desktop().strike(key);
  if (!says(field, "Set Shortcut")) throw std::runtime_error(field + " takes no shortcut");
}

void Program::saveSettings() {
  click("Save");
  if (!loses(Role::dialog, "Settings")) throw std::runtime_error("the sheet does not go");
}

}  // namespace tapeloop::support
