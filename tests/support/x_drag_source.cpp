#include "support/x_drag_source.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace tapeloop::support {
namespace {

constexpr std::uint32_t version = 5;
constexpr std::uint16_t side = 100;

}  // namespace

XDragSource::XDragSource(const std::string& display, std::string text,
                         const std::vector<std::string>& types)
    : text_(std::move(text)), connection_(display), window_(xcb_generate_id(connection_)) {
  const std::array<std::uint32_t, 3> values{
      connection_.screen().black_pixel, 1,
      XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_BUTTON_MOTION};
  connection_.check(
      xcb_create_window_checked(
          connection_, XCB_COPY_FROM_PARENT, window_, connection_.root(), middleX - side / 2,
          middleY - side / 2, side, side, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values.data()),
      "creating a window");
  for (const auto& type : types) types_.push_back(connection_.atom(type));
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, connection_.atom("XdndTypeList"),
                      XCB_ATOM_ATOM, 32, static_cast<std::uint32_t>(types_.size()), types_.data());
  xcb_map_window(connection_, window_);
  connection_.sync();
  reader_.emplace(std::vector<const XConnection*>{&connection_}, [this] { serve(); });
}

bool XDragSource::waitForDrop(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, limit, [this] { return dropped_.has_value(); });
  return dropped_.value_or(false);
}

void XDragSource::serve() {
  while (const XOwned<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
    handle(*event);
  }
  xcb_flush(connection_);
}

void XDragSource::handle(const xcb_generic_event_t& event) {
  const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
  switch (event.response_type & 0x7F) {
    case XCB_BUTTON_PRESS:
      target_ = XCB_NONE;
      xcb_set_selection_owner(connection_, window_, connection_.atom("XdndSelection"),
                              reinterpret_cast<const xcb_button_press_event_t&>(event).time);
      break;
    case XCB_MOTION_NOTIFY:
      moved(reinterpret_cast<const xcb_motion_notify_event_t&>(event));
      break;
    case XCB_BUTTON_RELEASE:
      released(reinterpret_cast<const xcb_button_release_event_t&>(event).time);
      break;
    case XCB_SELECTION_REQUEST:
      handOver(reinterpret_cast<const xcb_selection_request_event_t&>(event));
      break;
    case XCB_CLIENT_MESSAGE:
      if (message.type == connection_.atom("XdndStatus")) {
        isAnswerDue_ = false;
        isAccepted_ = (message.data.data32[1] & 1U) != 0;
        if (std::exchange(isMoveDue_, false)) offerPosition();
        if (release_) released(*release_);
      } else if (message.type == connection_.atom("XdndFinished")) {
        const std::lock_guard lock(mutex_);
        dropped_ = (message.data.data32[1] & 1U) != 0;
        changed_.notify_all();
      }
      break;
    default:
      break;
  }
}

void XDragSource::moved(const xcb_motion_notify_event_t& motion) {
  latest_ = motion;
  const auto below = awareWindowAt(motion.root_x, motion.root_y);
  if (below != target_) {
    if (target_ != XCB_NONE) send("XdndLeave");
    target_ = below;
    isAnswerDue_ = isMoveDue_ = isAccepted_ = false;
    if (target_ == XCB_NONE) return;
    std::array<std::uint32_t, 4> enter{version << 24U | (types_.size() > 3 ? 1U : 0U)};
    std::copy_n(types_.begin(), std::min<std::size_t>(types_.size(), 3), enter.begin() + 1);
    send("XdndEnter", enter);
  }
  if (target_ == XCB_NONE) return;
  // One position at a time: the next one follows the answer.
  if (isAnswerDue_) {
    isMoveDue_ = true;
  } else {
    offerPosition();
  }
}

void XDragSource::offerPosition() {
  isAnswerDue_ = true;
  send("XdndPosition", {0,
                        static_cast<std::uint32_t>(latest_.root_x) << 16U |
                            static_cast<std::uint32_t>(latest_.root_y),
                        latest_.time, connection_.atom("XdndActionCopy")});
}

void XDragSource::released(xcb_timestamp_t time) {
  release_ = time;
  if (target_ != XCB_NONE && isAnswerDue_) return;
  if (target_ != XCB_NONE) send(isAccepted_ ? "XdndDrop" : "XdndLeave", {0, time});
  release_.reset();
}

void XDragSource::handOver(const xcb_selection_request_event_t& request) {
  xcb_selection_notify_event_t answer{};
  answer.response_type = XCB_SELECTION_NOTIFY;
  answer.time = request.time;
  answer.requestor = request.requestor;
  answer.selection = request.selection;
  answer.target = request.target;
  if (std::ranges::find(types_, request.target) != types_.end()) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                        request.target, 8, static_cast<std::uint32_t>(text_.size()), text_.data());
    answer.property = request.property;
  }
  xcb_send_event(connection_, 0, request.requestor, 0, reinterpret_cast<const char*>(&answer));
}

void XDragSource::send(const char* what, const std::array<std::uint32_t, 4>& data) const {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = target_;
  message.type = connection_.atom(what);
  message.data.data32[0] = window_;
  std::ranges::copy(data, message.data.data32 + 1);
  xcb_send_event(connection_, 0, target_, 0, reinterpret_cast<const char*>(&message));
}

xcb_window_t XDragSource::awareWindowAt(std::int16_t x, std::int16_t y) const {
  for (xcb_window_t window = connection_.root();;) {
    const auto below =
        connection_.reply(xcb_translate_coordinates_reply,
                          xcb_translate_coordinates(connection_, connection_.root(), window, x, y));
    if (!below || below->child == XCB_NONE) return XCB_NONE;
    window = below->child;
    if (!connection_.property<xcb_atom_t>(window, "XdndAware").empty()) return window;
  }
}

}  // namespace tapeloop::support
