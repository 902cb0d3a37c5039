#include "platform/x11/record.h"

#include <cstring>
#include <memory>
#include <utility>

#include <poll.h>
#include <xcb/record.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>
#include <xcb/xinput.h>

#include "platform/x11/protocol.h"

namespace tapeloop::x11 {

namespace {

// Categories of a reply to EnableContext.
constexpr std::uint8_t fromServer = 0;
constexpr std::uint8_t fromClient = 1;
constexpr std::uint8_t startOfData = 4;
constexpr std::uint8_t endOfData = 5;

constexpr int mostAtOnce = 256;  // replies

// How long the server may take to start or end a stream before it counts as stuck.
constexpr int serverPatience = 2000;  // milliseconds

std::span<const std::uint8_t> dataOf(const xcb_record_enable_context_reply_t& reply) {
  return {xcb_record_enable_context_data(&reply),
          static_cast<std::size_t>(xcb_record_enable_context_data_length(&reply))};
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
    // A client of the other byte order is not understood.
    const RecordedRequest request{reply.xid_base, dataOf(reply)};
    if (reply.client_swapped == 0 && request.bytes.size() >= sizeof(std::uint32_t)) {
      handler(request);
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
  if (!waitUntilEnabled()) return false;
  watch_ = control_.runLoop().watch(xcb_get_file_descriptor(data_), [this] { drain(); });
  // Starting may have read events along with the reply that it waited for.
  beforeWait_ = control_.runLoop().addBeforeWait([this] { return drain(); });
  return true;
}

bool RecordStream::waitUntilEnabled() {
  while (!enabled_ && !ended_) {
    if (!drain() && !enabled_ && !ended_ && !waitReadable()) return false;
  }
  return enabled_;
}

void RecordStream::finish() {
  if (ended_ || context_ == 0) return;
  auto* control = control_.xcb();
  xcb_record_disable_context(control, context_);
  // The reply tells that the server has done it; everything that it had held back is then on its
  // way, with the end of the stream behind it.
  own(xcb_get_input_focus_reply(control, xcb_get_input_focus(control), nullptr));
  while (!ended_) {
    if (!drain() && !ended_ && !waitReadable()) break;
  }
  ended_ = true;
  watch_ = {};
}

bool RecordStream::waitReadable() const {
  if (xcb_connection_has_error(data_) != 0) return false;
  pollfd descriptor{xcb_get_file_descriptor(data_), POLLIN, 0};
  return poll(&descriptor, 1, serverPatience) > 0;
}

// Tells whether it stopped with more to come, which a flood is not to keep the loop busy with.
bool RecordStream::drain() {
  void* memory = nullptr;
  xcb_generic_error_t* failure = nullptr;
  int count = 0;
  while (!ended_ && xcb_poll_for_reply(data_, sequence_, &memory, &failure) != 0) {
    const auto error = own(std::exchange(failure, nullptr));
    const auto reply =
        own(static_cast<xcb_record_enable_context_reply_t*>(std::exchange(memory, nullptr)));
    if (!reply) {
      ended_ = true;
      break;
    }
    switch (reply->category) {
      case startOfData:
        enabled_ = true;
        break;
      case endOfData:
        ended_ = true;
        break;
      default:
        if (reply->category == category_) sink_(*reply);
        break;
    }
    if (++count == mostAtOnce) return true;
  }
  if (xcb_connection_has_error(data_) != 0) ended_ = true;
  if (ended_) watch_ = {};
  return false;
}

RawInput::RawInput(Connection& connection)
    : connection_(connection),
      events_(connection.onEvent([this](const xcb_generic_event_t& event) { handle(event); })) {}

Subscription RawInput::onKey(Handler handler) {
  return count(keyListeners_, key_.connect(std::move(handler)));
}
Subscription RawInput::onAny(Handler handler) {
  return count(anyListeners_, any_.connect(std::move(handler)));
}

Subscription RawInput::count(int& listeners, Subscription subscription) {
  ++listeners;
  select();
  const auto kept = std::make_shared<Subscription>(std::move(subscription));
  return Subscription([this, &listeners, kept] {
    kept->reset();
    --listeners;
    select();
  });
}

void RawInput::select() const {
  if (!connection_.extensions().xinput) return;
  struct {
    xcb_input_event_mask_t head;
    std::uint32_t mask;
  } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, 0};
  if (keyListeners_ + anyListeners_ > 0) {
    selection.mask |=
        XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE;
  }
  if (anyListeners_ > 0) {
    selection.mask |= XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS |
                      XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE |
                      XCB_INPUT_XI_EVENT_MASK_RAW_MOTION;
  }
  xcb_input_xi_select_events(connection_.xcb(), connection_.root(), 1, &selection.head);
  xcb_flush(connection_.xcb());
}

void RawInput::handle(const xcb_generic_event_t& event) {
  if ((event.response_type & 0x7f) != XCB_GE_GENERIC) return;
  const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
  if (generic.extension != connection_.extensions().xinputOpcode) return;
  if (generic.event_type < XCB_INPUT_RAW_KEY_PRESS || generic.event_type > XCB_INPUT_RAW_MOTION) {
    return;
  }
  // The five kinds have the same layout up to here.
  const auto& raw = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event);
  const RawEvent told{generic.event_type, static_cast<std::uint8_t>(raw.detail), raw.time,
                      generic.full_sequence};
  any_(told);
  if (told.type <= XCB_INPUT_RAW_KEY_RELEASE) key_(told);
}

Subscription GrabRequests::watch(std::uint32_t client, std::function<void()> callback) {
  xcb_record_range_t range{};
  range.core_requests = {XCB_GRAB_KEYBOARD, XCB_GRAB_KEYBOARD};
  if (connection_.extensions().xinput) {
    const std::uint8_t opcode = connection_.extensions().xinputOpcode;
    range.ext_requests = {{opcode, opcode}, {XCB_INPUT_XI_GRAB_DEVICE, XCB_INPUT_XI_GRAB_DEVICE}};
  }
  Signal<> wanted;
  auto subscription = std::make_shared<Subscription>(wanted.connect(std::move(callback)));
  stream_ = RecordStream::startForRequests(
      connection_, range, [this, client, wanted](const RecordedRequest& request) {
        if (request.client == client || !isForKeyboard(request)) return;
        // Whoever hears of it may end the stream, which is in use now.
        connection_.runLoop().dispatchAfter(0, wanted);
      });
  return Subscription([this, subscription] {
    subscription->reset();
    stream_.reset();
  });
}

bool GrabRequests::isForKeyboard(const RecordedRequest& request) const {
  const std::uint8_t opcode = request.bytes[0];
  if (opcode == XCB_GRAB_KEYBOARD) return true;
  xcb_input_xi_grab_device_request_t grab;
  if (request.bytes.size() < sizeof grab) return false;
  std::memcpy(&grab, request.bytes.data(), sizeof grab);
  // The pointer is grabbed in this way too, for every menu.
  return grab.deviceid == keyboard_.device();
}

}  // namespace tapeloop::x11
