#include "support/x_observer.h"

#include <array>
#include <ctime>
#include <stdexcept>

#include <poll.h>
#include <pthread.h>
#include <xcb/record.h>
#include <xcb/xcbext.h>
#include <xcb/xinput.h>

namespace tapeloop::support {

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

  // The server keeps recorded events in its buffer until it has to write to somebody: the raw
  // events tell that there are some, and the answer to a small request brings them along.
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
    nudge();
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

void XObserver::nudge() {
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

}  // namespace tapeloop::support
