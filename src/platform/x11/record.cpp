#include "platform/x11/record.h"

#include <cstring>
#include <utility>

#include <poll.h>
#include <xcb/record.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>
#include <xcb/xinput.h>

namespace tapeloop::x11 {
namespace {

// Categories of a reply to EnableContext.
constexpr std::uint8_t fromServer = 0;
constexpr std::uint8_t fromClient = 1;
constexpr std::uint8_t startOfData = 4;
constexpr std::uint8_t endOfData = 5;

constexpr int repliesAtOnce = 256;
constexpr int timeout = 2000;  // milliseconds in which the server has to start or end a stream

std::span<const std::uint8_t> dataOf(const xcb_record_enable_context_reply_t& reply) {
  return {xcb_record_enable_context_data(&reply),
          static_cast<std::size_t>(xcb_record_enable_context_data_length(&reply))};
}

bool isForKeyboard(std::span<const std::uint8_t> request, std::uint16_t keyboard) {
  if (request[0] == XCB_GRAB_KEYBOARD) return true;
  // XIGrabDevice grabs pointers too, as menus do.
  xcb_input_xi_grab_device_request_t grab;
  if (request.size() < sizeof grab) return false;
  std::memcpy(&grab, request.data(), sizeof grab);
  return grab.deviceid == keyboard;
}

}  // namespace

std::unique_ptr<RecordStream> RecordStream::start(Connection& control, Handler handler) {
  xcb_record_range_t range{};
  range.device_events = {XCB_KEY_PRESS, XCB_MOTION_NOTIFY};
  return start(control, range, fromServer, [handler = std::move(handler)](const auto& reply) {
    const std::int64_t arrival = monotonicNow();
    const auto events = dataOf(reply);
    xcb_key_press_event_t event;  // buttons and motion have the same layout
    for (std::size_t offset = 0; offset + sizeof event <= events.size(); offset += sizeof event) {
      std::memcpy(&event, events.data() + offset, sizeof event);
      handler({static_cast<std::uint8_t>(event.response_type & 0x7f), event.detail, event.state,
               event.time, event.root_x, event.root_y, arrival});
    }
  });
}

std::unique_ptr<RecordStream> RecordStream::startForRequests(Connection& control,
                                                             const xcb_record_range_t& range,
                                                             RequestHandler handler) {
  return start(control, range, fromClient, [handler = std::move(handler)](const auto& reply) {
    const auto request = dataOf(reply);
    // Requests of clients with the other byte order are left out.
    if (reply.client_swapped == 0 && request.size() >= sizeof(std::uint32_t)) {
      handler(reply.xid_base, request);
    }
  });
}

std::unique_ptr<RecordStream> RecordStream::start(Connection& control,
                                                  const xcb_record_range_t& range,
                                                  std::uint8_t category, Sink sink) {
  if (!control.extensions().record || control.isLost()) return nullptr;
  const std::string& name = control.displayName();
  xcb_connection_t* data = xcb_connect(name.empty() ? nullptr : name.c_str(), nullptr);
  std::unique_ptr<RecordStream> stream(new RecordStream(control, data, category, std::move(sink)));
  if (xcb_connection_has_error(data) != 0 || !stream->enable(range)) return nullptr;
  return stream;
}

RecordStream::RecordStream(Connection& control, xcb_connection_t* data, std::uint8_t category,
                           Sink sink)
    : control_(control), data_(data), category_(category), sink_(std::move(sink)) {}

RecordStream::~RecordStream() {
  beforeWait_.reset();
  watch_ = {};
  if (context_ != 0) {
    xcb_record_free_context(control_.xcb(), context_);
    xcb_flush(control_.xcb());
  }
  xcb_disconnect(data_);
}

bool RecordStream::enable(const xcb_record_range_t& range) {
  auto* control = control_.xcb();
  const std::uint32_t context = xcb_generate_id(control);
  const xcb_record_client_spec_t clients = XCB_RECORD_CS_ALL_CLIENTS;
  const auto error = own(xcb_request_check(
      control, xcb_record_create_context_checked(control, context, 0, 1, 1, &clients, &range)));
  if (error || control_.isLost()) return false;
  context_ = context;

  sequence_ = xcb_record_enable_context(data_, context_).sequence;
  xcb_flush(data_);
  if (!drainUntil(enabled_)) return false;
  watch_ = control_.runLoop().watch(xcb_get_file_descriptor(data_), [this] { drain(); });
  // libxcb may have read events together with a reply that was waited for. The descriptor does not
  // show those.
  beforeWait_ = control_.runLoop().addBeforeWait([this] { return drain(); });
  return true;
}

void RecordStream::finish() {
  if (ended_ || context_ == 0) return;
  xcb_record_disable_context(control_.xcb(), context_);
  // After the round trip the server has sent everything that it had buffered, and the end of the
  // stream after it.
  control_.roundTrip();
  drainUntil(ended_);
  ended_ = true;
  watch_ = {};
}

// False when the stream ends, or the server sends nothing for too long, before `reached` is true.
bool RecordStream::drainUntil(const bool& reached) {
  while (!reached && !ended_) {
    if (drain() || reached || ended_) continue;
    pollfd descriptor{xcb_get_file_descriptor(data_), POLLIN, 0};
    if (poll(&descriptor, 1, timeout) <= 0) return false;
  }
  return reached;
}

// True when it stopped with more to come, so that a flood of events does not hold up the timers.
bool RecordStream::drain() {
  void* memory = nullptr;
  xcb_generic_error_t* failure = nullptr;
  int count = 0;
  while (!ended_ && xcb_poll_for_reply(data_, sequence_, &memory, &failure) != 0) {
    const auto error = own(std::exchange(failure, nullptr));
    const auto reply =
        own(static_cast<xcb_record_enable_context_reply_t*>(std::exchange(memory, nullptr)));
    if (!reply || reply->category == endOfData) {
      ended_ = true;
    } else if (reply->category == startOfData) {
      enabled_ = true;
    } else if (reply->category == category_) {
      sink_(*reply);
    }
    if (++count == repliesAtOnce) return true;
  }
  if (xcb_connection_has_error(data_) != 0) ended_ = true;
  if (ended_) watch_ = {};
  return false;
}

RawInput::RawInput(Connection& connection)
    : connection_(connection),
      events_(connection.onEvent([this](const xcb_generic_event_t& event) { handle(event); })) {
  selectPointer(false);
}

void RawInput::selectPointer(bool on) {
  if (!connection_.extensions().xinput) return;
  struct {
    xcb_input_event_mask_t head{XCB_INPUT_DEVICE_ALL_MASTER, 1};
    std::uint32_t mask =
        XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE;
  } selection;
  if (on) {
    selection.mask |= XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS |
                      XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE |
                      XCB_INPUT_XI_EVENT_MASK_RAW_MOTION;
  }
  xcb_input_xi_select_events(connection_.xcb(), connection_.root(), 1, &selection.head);
  xcb_flush(connection_.xcb());
}

void RawInput::handle(const xcb_generic_event_t& event) {
  if (eventCode(event) != XCB_GE_GENERIC) return;
  // The five kinds have the same layout up to the detail.
  const auto& raw = as<xcb_input_raw_key_press_event_t>(event);
  if (raw.extension != connection_.extensions().xinputOpcode) return;
  if (raw.event_type < XCB_INPUT_RAW_KEY_PRESS || raw.event_type > XCB_INPUT_RAW_MOTION) return;
  rawEvent_({raw.event_type, static_cast<std::uint8_t>(raw.detail), raw.time, raw.full_sequence});
}

Subscription onGrabRequest(Connection& connection, const KeyboardMap& keyboard,
                           std::uint32_t ownClient, std::function<void()> callback) {
  xcb_record_range_t range{};
  range.core_requests = {XCB_GRAB_KEYBOARD, XCB_GRAB_KEYBOARD};
  if (connection.extensions().xinput) {
    const std::uint8_t opcode = connection.extensions().xinputOpcode;
    range.ext_requests = {{opcode, opcode}, {XCB_INPUT_XI_GRAB_DEVICE, XCB_INPUT_XI_GRAB_DEVICE}};
  }
  const auto wanted = std::make_shared<std::function<void()>>(std::move(callback));
  const std::shared_ptr<RecordStream> stream = RecordStream::startForRequests(
      connection, range,
      [&connection, &keyboard, ownClient, weak = std::weak_ptr(wanted)](std::uint32_t client,
                                                                        auto request) {
        if (client == ownClient || !isForKeyboard(request, keyboard.device())) return;
        // Later, because the callback may end the stream, which is in use now.
        connection.runLoop().dispatchAfter(0, [weak] {
          if (const auto current = weak.lock()) (*current)();
        });
      });
  return Subscription([wanted, stream] {});
}

}  // namespace tapeloop::x11
