#include "platform/qt/lost_drags.h"

#include <cstddef>
#include <string_view>

#include <QtCore/QCoreApplication>
#include <xcb/xcb.h>

#include "platform/system/handles.h"

namespace tapeloop::qt {
namespace {

using system::own;

enum Atom : std::size_t { position, leave, drop };
constexpr std::array<std::string_view, 3> names{"XdndPosition", "XdndLeave", "XdndDrop"};

}  // namespace

LostDrags::LostDrags(xcb_connection_t* connection, std::uint32_t base, std::uint32_t mask)
    : connection_(connection), base_(base), mask_(mask) {
  std::array<xcb_intern_atom_cookie_t, names.size()> cookies;
  for (std::size_t i = 0; i < names.size(); ++i) {
    cookies[i] = xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(names[i].size()),
                                 names[i].data());
  }
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto reply = own(xcb_intern_atom_reply(connection_, cookies[i], nullptr));
    if (reply) atoms_[i] = reply->atom;
  }
  QCoreApplication::instance()->installNativeEventFilter(this);
}

LostDrags::~LostDrags() {
  if (auto* application = QCoreApplication::instance()) {
    application->removeNativeEventFilter(this);
  }
}

bool LostDrags::nativeEventFilter(const QByteArray&, void* message, qintptr*) {
  const auto* event = static_cast<const xcb_generic_event_t*>(message);
  switch (event->response_type & 0x7F) {
    case XCB_CLIENT_MESSAGE:
      follow(*static_cast<const xcb_client_message_event_t*>(message));
      break;
    case XCB_DESTROY_NOTIFY:
      if (source_ != 0 &&
          static_cast<const xcb_destroy_notify_event_t*>(message)->window == source_) {
        tellLeave();
        source_ = 0;
      }
      break;
    default:
      break;
  }
  return false;
}

void LostDrags::follow(const xcb_client_message_event_t& message) {
  const std::uint32_t source = message.data.data32[0];
  // A drag of this program goes away with it.
  if ((source & ~mask_) == base_) return;
  if (message.type == atoms_[position]) {
    if (source != source_) watch(source);
    source_ = source;
    target_ = message.window;
  } else if (message.type == atoms_[leave] || message.type == atoms_[drop]) {
    source_ = 0;
  }
}

// Once the drag has entered, Qt has said what it wants to hear of the window itself.
void LostDrags::watch(std::uint32_t source) const {
  const auto attributes = own(xcb_get_window_attributes_reply(
      connection_, xcb_get_window_attributes(connection_, source), nullptr));
  if (!attributes) return;
  const std::uint32_t events = attributes->your_event_mask | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  // That it is gone by now is no error worth a line of Qt's.
  (void)own(xcb_request_check(connection_, xcb_change_window_attributes_checked(
                                               connection_, source, XCB_CW_EVENT_MASK, &events)));
}

void LostDrags::tellLeave() const {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = target_;
  message.type = atoms_[leave];
  message.data.data32[0] = source_;
  xcb_send_event(connection_, 0, target_, XCB_EVENT_MASK_NO_EVENT,
                 reinterpret_cast<const char*>(&message));
  xcb_flush(connection_);
}

}  // namespace tapeloop::qt
