#include "support/x_window.h"

#include <array>
#include <stdexcept>

namespace tapeloop::support {

XWindow::XWindow(const std::string& display, const XWindowOptions& options)
    : connection_(display), requests_(display), window_(xcb_generate_id(connection_)) {
  const std::uint32_t attributes = XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK;
  const std::array<std::uint32_t, 3> values{
      connection_.screen().white_pixel, options.overrideRedirect ? 1U : 0U,
      XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_BUTTON_PRESS |
          XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_POINTER_MOTION | XCB_EVENT_MASK_EXPOSURE};
  connection_.check(xcb_create_window_checked(
                        connection_, XCB_COPY_FROM_PARENT, window_, connection_.root(), options.x,
                        options.y, options.width, options.height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                        XCB_COPY_FROM_PARENT, attributes, values.data()),
                    "creating a window");
  xcb_map_window(connection_, window_);
  xcb_flush(connection_);
  // The first exposure says that the window can be seen, and so can be given the focus.
  XOwned<xcb_generic_event_t> event;
  do {
    event.reset(xcb_wait_for_event(connection_));
    if (!event) throw std::runtime_error("window not shown");
  } while ((event->response_type & 0x7F) != XCB_EXPOSE);
  if (!options.overrideRedirect) takeFocus();
  reader_.emplace(std::vector<const XConnection*>{&connection_}, [this] { collect(); });
}

void XWindow::takeFocus() const {
  requests_.check(xcb_set_input_focus_checked(requests_, XCB_INPUT_FOCUS_POINTER_ROOT, window_,
                                              XCB_CURRENT_TIME),
                  "taking the focus");
}

bool XWindow::hasFocus() const {
  const auto focus = requests_.reply(xcb_get_input_focus_reply, xcb_get_input_focus(requests_));
  return focus && focus->focus == window_;
}

void XWindow::raise() const {
  const std::uint32_t above = XCB_STACK_MODE_ABOVE;
  xcb_configure_window(requests_, window_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
  requests_.sync();
}

void XWindow::collect() {
  while (const XOwned<xcb_generic_event_t> raw{xcb_poll_for_event(connection_)}) {
    if (const auto event = readXEvent(raw.get())) append(*event);
  }
}

}  // namespace tapeloop::support
