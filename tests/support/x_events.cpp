#include "support/x_events.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <ostream>
#include <stdexcept>

#include <poll.h>
#include <pthread.h>
#include <xcb/record.h>
#include <xcb/xcbext.h>
#include <xcb/xinput.h>

namespace tapeloop::support {
namespace {

// Reads a core input event of 32 bytes, which has arrived now. Nothing when it is of another kind.
std::optional<XEvent> readXEvent(const void* raw) {
  // The five kinds share one layout.
  const auto* core = static_cast<const xcb_key_press_event_t*>(raw);
  const auto type = static_cast<std::uint8_t>(core->response_type & 0x7F);
  if (type < XCB_KEY_PRESS || type > XCB_MOTION_NOTIFY) return std::nullopt;
  XEvent event;
  event.kind = static_cast<XEventKind>(type);
  event.detail = event.kind == XEventKind::motion ? std::uint8_t{0} : core->detail;
  event.rootX = core->root_x;
  event.rootY = core->root_y;
  event.state = core->state;
  event.time = core->time;
  event.arrival = monotonicNow();
  return event;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const XEvent& event) {
  static constexpr const char* names[] = {"key press", "key release", "button press",
                                          "button release", "motion"};
  out << names[static_cast<int>(event.kind) - XCB_KEY_PRESS];
  if (event.kind != XEventKind::motion) out << ' ' << static_cast<int>(event.detail);
  out << " at " << event.rootX << ',' << event.rootY << " state 0x" << std::hex << event.state
      << std::dec;
  return event.repeatOfDownKey ? out << " (repeat)" : out;
}

std::int64_t monotonicNow() {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

void XEventList::append(const XEvent& event) {
  {
    const std::lock_guard lock(mutex_);
    events_.push_back(event);
  }
  changed_.notify_all();
}

XEventList::Events XEventList::events() const {
  const std::lock_guard lock(mutex_);
  return events_;
}

std::size_t XEventList::size() const {
  const std::lock_guard lock(mutex_);
  return events_.size();
}

std::size_t XEventList::count(XEventKind kind) const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(std::ranges::count(events_, kind, &XEvent::kind));
}

void XEventList::clear() {
  const std::lock_guard lock(mutex_);
  events_.clear();
}

bool XEventList::waitFor(std::size_t count, std::chrono::milliseconds limit) const {
  return waitUntil([count](const Events& events) { return events.size() >= count; }, limit);
}

bool XEventList::waitUntil(const std::function<bool(const Events&)>& predicate,
                           std::chrono::milliseconds limit) const {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, limit, [&] { return predicate(events_); });
}

XObserver::XObserver(const std::string& display) : control_(display), data_(display) {
  if (!control_.reply(xcb_record_query_version_reply, xcb_record_query_version(control_, 1, 13)))
    throw std::runtime_error("the X server has no RECORD extension");
  const auto context = xcb_generate_id(control_);
  const xcb_record_client_spec_t everyone = XCB_RECORD_CS_ALL_CLIENTS;
  xcb_record_range_t range{};
  range.device_events = {XCB_KEY_PRESS, XCB_MOTION_NOTIFY};
  control_.check(xcb_record_create_context_checked(control_, context, 0, 1, 1, &everyone, &range),
                 "creating a record context");
  recording_ = xcb_record_enable_context(data_, context).sequence;
  xcb_flush(data_);
  while (!started_) {
    pollfd data{data_.descriptor(), POLLIN, 0};
    if (::poll(&data, 1, 10'000) != 1) throw std::runtime_error("recording does not start");
    readRecord();
  }

  // The server buffers recorded events until it writes something to any client. So each raw event
  // is answered with a small request, whose reply makes the server flush the buffer.
  (void)control_.reply(xcb_input_xi_query_version_reply,
                       xcb_input_xi_query_version(control_, 2, 2));
  struct {
    xcb_input_event_mask_t header{XCB_INPUT_DEVICE_ALL_MASTER, 1};
    std::uint32_t bits =
        XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE |
        XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE |
        XCB_INPUT_XI_EVENT_MASK_RAW_MOTION;
  } mask;
  control_.check(xcb_input_xi_select_events_checked(control_, control_.root(), 1, &mask.header),
                 "selecting raw events");
  reader_.emplace(std::vector<const XConnection*>{&control_, &data_}, [this] {
    wake();
    readRecord();
  });
}

std::int64_t XObserver::processorTime() const {
  clockid_t clock{};
  timespec used{};
  if (::pthread_getcpuclockid(reader_->handle(), &clock) != 0 ||
      ::clock_gettime(clock, &used) != 0) {
    return 0;
  }
  return std::int64_t{used.tv_sec} * 1'000'000'000 + used.tv_nsec;
}

void XObserver::wake() {
  bool woken = false;
  while (const XOwned<xcb_generic_event_t> event{xcb_poll_for_event(control_)}) woken = true;
  if (!woken) return;
  xcb_discard_reply(control_, xcb_get_input_focus(control_).sequence);
  xcb_flush(control_);
}

void XObserver::readRecord() {
  for (;;) {
    void* raw = nullptr;
    xcb_generic_error_t* failure = nullptr;
    const int ready = xcb_poll_for_reply(data_, recording_, &raw, &failure);
    const XOwned<xcb_record_enable_context_reply_t> reply(
        static_cast<xcb_record_enable_context_reply_t*>(raw));
    const XOwned<xcb_generic_error_t> error(failure);
    if (ready == 0 || !reply) return;
    if (reply->category == 4) started_ = true;
    if (reply->category != 0) continue;
    const auto* bytes = xcb_record_enable_context_data(reply.get());
    const auto length = xcb_record_enable_context_data_length(reply.get());
    for (int at = 0; at + 32 <= length; at += 32) {
      auto event = readXEvent(bytes + at);
      if (!event) continue;
      if (event->kind == XEventKind::keyPress) {
        event->repeatOfDownKey = down_.test(event->detail);
        down_.set(event->detail);
      } else if (event->kind == XEventKind::keyRelease) {
        down_.reset(event->detail);
      }
      append(*event);
    }
  }
}

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
