#include "support/x_window.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include <poll.h>

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
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NAME,
                      XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(options.title.size()),
                      options.title.data());
  xcb_map_window(connection_, window_);
  xcb_flush(connection_);
  // The first exposure says that the window can be seen, and so can be given the focus.
  for (;;) {
    pollfd source{connection_.descriptor(), POLLIN, 0};
    const XOwned<xcb_generic_event_t> event(xcb_poll_for_event(connection_));
    if (event && (event->response_type & 0x7F) == XCB_EXPOSE) break;
    if (!event && ::poll(&source, 1, 10'000) != 1) throw std::runtime_error("window not shown");
  }
  if (!options.overrideRedirect) takeFocus();
  thread_ = std::thread([this] { collect(); });
}

XWindow::~XWindow() {
  stop_.raise();
  thread_.join();
}

void XWindow::takeFocus() const {
  requests_.check(xcb_set_input_focus_checked(requests_, XCB_INPUT_FOCUS_POINTER_ROOT, window_,
                                              XCB_CURRENT_TIME),
                  "taking the focus");
}

bool XWindow::hasFocus() const {
  const XOwned<xcb_get_input_focus_reply_t> reply(
      xcb_get_input_focus_reply(requests_, xcb_get_input_focus(requests_), nullptr));
  return reply && reply->focus == window_;
}

void XWindow::raise() const {
  const std::uint32_t above = XCB_STACK_MODE_ABOVE;
  xcb_configure_window(requests_, window_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
  requests_.sync();
}

std::size_t XWindow::count(XEventKind kind) const {
  const auto events = list_.events();
  return static_cast<std::size_t>(
      std::count_if(events.begin(), events.end(), [&](const auto& e) { return e.kind == kind; }));
}

void XWindow::collect() {
  std::array<pollfd, 2> sources{
      {{stop_.descriptor(), POLLIN, 0}, {connection_.descriptor(), POLLIN, 0}}};
  while (!connection_.isBroken()) {
    while (const XOwned<xcb_generic_event_t> raw{xcb_poll_for_event(connection_)}) {
      XEvent event;
      if (!readXEvent(raw.get(), event)) continue;
      event.arrival = monotonicNow();
      list_.append(event);
    }
    if (::poll(sources.data(), sources.size(), -1) > 0 && sources[0].revents != 0) return;
  }
}

}  // namespace tapeloop::support
