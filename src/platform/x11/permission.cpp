#include "platform/x11/permission.h"

#include <cstring>
#include <string_view>

#include <xcb/randr.h>
#include <xcb/xcb.h>

#include "platform/x11/xcb_reply.h"

namespace tapeloop::x11 {
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
