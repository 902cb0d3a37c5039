#include "platform/x11/session.h"

#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include <unistd.h>
#include <xcb/randr.h>
#include <xcb/xcb.h>

#include "platform/x11/protocol.h"

namespace tapeloop::x11 {

FirstInstance::FirstInstance(Connection& connection, std::function<void()> onSecondStart)
    : connection_(connection),
      selection_(connection.atom("_TAPELOOP_" + std::to_string(getuid()))),
      window_(xcb_generate_id(connection.xcb())) {
  xcb_create_window(connection.xcb(), 0, window_, connection.root(), -1, -1, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
  isFirst_ = claim();
  if (!isFirst_) return;
  events_ = connection_.onEvent(
      [this, onSecondStart = std::move(onSecondStart)](const xcb_generic_event_t& event) {
        if ((event.response_type & 0x7f) != XCB_CLIENT_MESSAGE) return;
        const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
        if (message.window == window_ && message.type == selection_) onSecondStart();
      });
}

FirstInstance::~FirstInstance() {
  if (connection_.isLost()) return;
  xcb_destroy_window(connection_.xcb(), window_);
  xcb_flush(connection_.xcb());
}

// Nobody else gets a turn between the question and the claim.
bool FirstInstance::claim() {
  auto* xcb = connection_.xcb();
  xcb_grab_server(xcb);
  const auto owner =
      own(xcb_get_selection_owner_reply(xcb, xcb_get_selection_owner(xcb, selection_), nullptr));
  const bool taken = owner && owner->owner != XCB_NONE;
  if (taken) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = owner->owner;
    message.type = selection_;
    xcb_send_event(xcb, 0, owner->owner, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&message));
  } else {
    xcb_set_selection_owner(xcb, window_, selection_, XCB_CURRENT_TIME);
  }
  xcb_ungrab_server(xcb);
  // The reply tells that the server has taken in what came before.
  own(xcb_get_input_focus_reply(xcb, xcb_get_input_focus(xcb), nullptr));
  return !taken;
}

namespace {

// Newer servers say it with an extension, older ones only with the names of their outputs.
bool runsInWayland(const Connection& connection) {
  auto* xcb = connection.xcb();
  constexpr std::string_view name = "XWAYLAND";
  const auto extension = own(
      xcb_query_extension_reply(xcb, xcb_query_extension(xcb, name.size(), name.data()), nullptr));
  if (extension && extension->present != 0) return true;
  if (!connection.extensions().randr) return false;

  const auto resources = own(xcb_randr_get_screen_resources_current_reply(
      xcb, xcb_randr_get_screen_resources_current(xcb, connection.root()), nullptr));
  if (!resources) return false;
  const auto* outputs = xcb_randr_get_screen_resources_current_outputs(resources.get());
  const int count = xcb_randr_get_screen_resources_current_outputs_length(resources.get());
  for (int i = 0; i < count; ++i) {
    const auto info = own(xcb_randr_get_output_info_reply(
        xcb, xcb_randr_get_output_info(xcb, outputs[i], XCB_CURRENT_TIME), nullptr));
    if (!info) continue;
    const std::string_view output(
        reinterpret_cast<const char*>(xcb_randr_get_output_info_name(info.get())),
        static_cast<std::size_t>(xcb_randr_get_output_info_name_length(info.get())));
    if (output.substr(0, name.size()) == name) return true;
  }
  return false;
}

}  // namespace

X11Permission::X11Permission(const Connection& connection)
    : connection_(connection), inWayland_(runsInWayland(connection)) {}

bool X11Permission::AXIsProcessTrusted() const {
  const Extensions& extensions = connection_.extensions();
  return extensions.record && extensions.xtest && extensions.xkb && extensions.xinput &&
         !inWayland_ && !connection_.isLost();
}

std::string X11Permission::advice() const {
  if (inWayland_) {
    return "This is a Wayland session, where no program sees the input of others: log out, and "
           "choose an X11 (Xorg) session when you log in.";
  }
  const Extensions& extensions = connection_.extensions();
  std::string missing;
  const auto note = [&missing](bool present, const char* name) {
    if (present) return;
    if (!missing.empty()) missing += ", ";
    missing += name;
  };
  note(extensions.record, "RECORD");
  note(extensions.xtest, "XTEST");
  note(extensions.xkb, "XKB");
  note(extensions.xinput, "XInput 2");
  if (missing.empty()) return {};
  return "The X server does not offer " + missing +
         ": enable this in its configuration, or log in to a session of a full X.Org server.";
}

}  // namespace tapeloop::x11
