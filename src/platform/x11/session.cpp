#include "platform/x11/session.h"

#include <string_view>
#include <utility>

#include <unistd.h>
#include <xcb/randr.h>
#include <xcb/xcb.h>

namespace tapeloop::x11 {
namespace {

// Xwayland has an extension of its name since version 23.1; older ones only have outputs with it.
bool runsInWayland(const Connection& connection) {
  auto* xcb = connection.xcb();
  constexpr std::string_view name = "XWAYLAND";
  const auto extension = connection.reply(xcb_query_extension_reply,
                                          xcb_query_extension(xcb, name.size(), name.data()));
  if (extension && extension->present != 0) return true;
  if (!connection.extensions().randr) return false;

  const auto resources =
      connection.reply(xcb_randr_get_screen_resources_current_reply,
                       xcb_randr_get_screen_resources_current(xcb, connection.root()));
  if (!resources) return false;
  const auto* outputs = xcb_randr_get_screen_resources_current_outputs(resources.get());
  const int count = xcb_randr_get_screen_resources_current_outputs_length(resources.get());
  for (int i = 0; i < count; ++i) {
    const auto info =
        connection.reply(xcb_randr_get_output_info_reply,
                         xcb_randr_get_output_info(xcb, outputs[i], XCB_CURRENT_TIME));
    if (!info) continue;
    const std::string_view output(
        reinterpret_cast<const char*>(xcb_randr_get_output_info_name(info.get())), info->name_len);
    if (output.starts_with(name)) return true;
  }
  return false;
}

std::string missingExtensions(const Extensions& extensions) {
  std::string missing;
  const auto check = [&missing](bool present, const char* name) {
    if (!present) missing += missing.empty() ? name : std::string(", ") + name;
  };
  check(extensions.record, "RECORD");
  check(extensions.xtest, "XTEST");
  check(extensions.xkb, "XKB");
  check(extensions.xinput, "XInput 2");
  return missing;
}

}  // namespace

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
        if (eventCode(event) != XCB_CLIENT_MESSAGE) return;
        const auto& message = as<xcb_client_message_event_t>(event);
        if (message.window == window_ && message.type == selection_) onSecondStart();
      });
}

FirstInstance::~FirstInstance() {
  if (connection_.isLost()) return;
  xcb_destroy_window(connection_.xcb(), window_);
  xcb_flush(connection_.xcb());
}

// While the server is grabbed no other instance can claim the selection between the two requests.
bool FirstInstance::claim() {
  auto* xcb = connection_.xcb();
  xcb_grab_server(xcb);
  const auto owner =
      connection_.reply(xcb_get_selection_owner_reply, xcb_get_selection_owner(xcb, selection_));
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
  connection_.roundTrip();
  return !taken;
}

X11Permission::X11Permission(const Connection& connection)
    : connection_(connection), inWayland_(runsInWayland(connection)) {}

bool X11Permission::AXIsProcessTrusted() const {
  return missingExtensions(connection_.extensions()).empty() && !inWayland_ &&
         !connection_.isLost();
}

std::string X11Permission::advice() const {
  if (inWayland_) {
    return "This is a Wayland session, where no program sees the input of others: log out, and "
           "choose an X11 (Xorg) session when you log in.";
  }
  const std::string missing = missingExtensions(connection_.extensions());
  if (missing.empty()) return {};
  return "The X server does not offer " + missing +
         ": enable this in its configuration, or log in to a session of a full X.Org server.";
}

}  // namespace tapeloop::x11
