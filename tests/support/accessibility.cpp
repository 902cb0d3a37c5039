#include "support/accessibility.h"

#include <chrono>
#include <cstdlib>
#include <stdexcept>

#include <atspi/atspi.h>

namespace tapeloop::support {
namespace {

struct Unreference {
  void operator()(void* object) const { g_object_unref(object); }
};
template <typename T>
using Owned = std::unique_ptr<T, Unreference>;

/// Frees the error of a call. The result tells enough.
class Ignored {
 public:
  Ignored() = default;
  Ignored(const Ignored&) = delete;
  Ignored& operator=(const Ignored&) = delete;
  ~Ignored() { g_clear_error(&error_); }
  operator GError**() { return &error_; }  // NOLINT(google-explicit-constructor)

 private:
  GError* error_ = nullptr;
};

std::string taken(gchar* text) {
  std::string copy = text ? text : "";
  g_free(text);
  return copy;
}

// The library caches no values, since only a main loop would keep them up to date. It has to cache
// states: when a GTK program announces a new part, the library looks up its state, and without a
// cache it asks the program while that waits for the library. `is` clears the cache.
constexpr auto kept = ATSPI_CACHE_STATES;

std::string firstLine(ChildProcess& service) {
  const auto line = service.waitForLine(0, std::chrono::seconds(20));
  if (!line) throw std::runtime_error("the accessibility services did not start");
  return *line;
}

}  // namespace

std::string toString(Role role) {
  return taken(atspi_role_get_name(static_cast<AtspiRole>(role)));
}

Element::Element(AtspiAccessible* accessible) : accessible_(accessible, Unreference{}) {}

std::string Element::name() const {
  return taken(atspi_accessible_get_name(accessible_.get(), Ignored()));
}

Role Element::role() const {
  return static_cast<Role>(atspi_accessible_get_role(accessible_.get(), Ignored()));
}

std::string Element::description() const {
  return taken(atspi_accessible_get_description(accessible_.get(), Ignored()));
}

std::string Element::text() const {
  const Owned<AtspiText> text(atspi_accessible_get_text_iface(accessible_.get()));
  if (!text) return {};
  const int count = atspi_text_get_character_count(text.get(), Ignored());
  return taken(atspi_text_get_text(text.get(), 0, count, Ignored()));
}

bool Element::is(State state) const {
  atspi_accessible_clear_cache(accessible_.get());
  const Owned<AtspiStateSet> states(atspi_accessible_get_state_set(accessible_.get()));
  return states && atspi_state_set_contains(states.get(), static_cast<AtspiStateType>(state));
}

Element::Place Element::place() const {
  const Owned<AtspiComponent> component(atspi_accessible_get_component_iface(accessible_.get()));
  if (!component) return {};
  AtspiRect* const rect =
      atspi_component_get_extents(component.get(), ATSPI_COORD_TYPE_SCREEN, Ignored());
  if (!rect) return {};
  const Place place{rect->x, rect->y, rect->width, rect->height};
  g_free(rect);
  return place;
}

std::vector<Element> Element::children() const {
  std::vector<Element> children;
  const int count = atspi_accessible_get_child_count(accessible_.get(), Ignored());
  for (int i = 0; i < count; ++i) {
    auto* const child = atspi_accessible_get_child_at_index(accessible_.get(), i, Ignored());
    if (child) children.emplace_back(child);
  }
  return children;
}

std::optional<Element> Element::find(const std::function<bool(const Element&)>& condition) const {
  for (const Element& child : children()) {
    if (condition(child)) return child;
    if (auto found = child.find(condition)) return found;
  }
  return std::nullopt;
}

bool Element::press() const {
  const Owned<AtspiAction> action(atspi_accessible_get_action_iface(accessible_.get()));
  const int count = action ? atspi_action_get_n_actions(action.get(), Ignored()) : 0;
  for (int i = 0; i < count; ++i) {
    if (taken(atspi_action_get_action_name(action.get(), i, Ignored())) == "Press") {
      return atspi_action_do_action(action.get(), i, Ignored()) != FALSE;
    }
  }
  return false;
}

std::string Element::outline(int depth) const {
  std::string lines = std::string(static_cast<std::size_t>(depth) * 2, ' ') + toString(role()) +
                      ": " + name() + (is(State::showing) ? "" : " (hidden)") +
                      (is(State::enabled) ? "" : " (disabled)") + "\n";
  for (const Element& child : children()) lines += child.outline(depth + 1);
  return lines;
}

AccessibilityBus& AccessibilityBus::instance() {
  static AccessibilityBus bus;
  return bus;
}

AccessibilityBus::AccessibilityBus()
    // The daemon starts the accessibility services on demand. Their sockets are in this folder,
    // away from those of the user's session. Without DISPLAY the services don't write the address
    // of their bus to the root window of the user's display; if it is empty they crash. The daemon
    // writes to standard error what it starts.
    : session_({"sh", "-c",
                "unset DISPLAY; exec dbus-daemon --session --nofork --print-address 2>/dev/null"},
               {"XDG_RUNTIME_DIR=" + folder_.path().string(),
                "XDG_CACHE_HOME=" + folder_.path().string()}),
      address_("DBUS_SESSION_BUS_ADDRESS=" + firstLine(session_)) {
  ::putenv(address_.data());
  ::unsetenv("DISPLAY");
  if (atspi_init() != 0) throw std::runtime_error("no accessibility services");
  // A busy program may take long to answer.
  atspi_set_timeout(10'000, 10'000);
}

AccessibilityBus::~AccessibilityBus() {
  atspi_exit();
}

std::vector<std::string> AccessibilityBus::environment() const {
  return {address_, "QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1"};
}

std::optional<Element> AccessibilityBus::program(pid_t pid) const {
  const Owned<AtspiAccessible> desktop(atspi_get_desktop(0));
  atspi_accessible_set_cache_mask(desktop.get(), kept);
  const int count = atspi_accessible_get_child_count(desktop.get(), Ignored());
  for (int i = 0; i < count; ++i) {
    auto* const program = atspi_accessible_get_child_at_index(desktop.get(), i, Ignored());
    if (!program) continue;
    Element element(program);
    if (static_cast<pid_t>(atspi_accessible_get_process_id(program, Ignored())) != pid) continue;
    atspi_accessible_set_cache_mask(program, kept);
    return element;
  }
  return std::nullopt;
}

}  // namespace tapeloop::support
