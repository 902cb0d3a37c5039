#include "platform/x11/first_instance.h"

#include <string>
#include <utility>

#include <unistd.h>
#include <xcb/xcb.h>

#include "platform/x11/xcb_reply.h"

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

}  // namespace tapeloop::x11
