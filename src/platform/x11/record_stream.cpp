#include "platform/x11/record_stream.h"

#include <cstring>
#include <utility>

#include <poll.h>
#include <xcb/record.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

#include "platform/system/run_loop.h"
#include "platform/x11/xcb_reply.h"

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
    const std::int64_t arrival = system::monotonicNow();
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

}  // namespace tapeloop::x11
