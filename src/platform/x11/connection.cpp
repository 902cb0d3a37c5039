#include "platform/x11/connection.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <unistd.h>
#include <xcb/randr.h>
#include <xcb/record.h>
#include <xcb/xcb.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include "platform/system/handles.h"
#include "platform/x11/protocol.h"

namespace tapeloop::x11 {
namespace {

const xcb_query_extension_reply_t* find(xcb_connection_t* xcb, xcb_extension_t& extension) {
  const auto* data = xcb_get_extension_data(xcb, &extension);
  return data != nullptr && data->present != 0 ? data : nullptr;
}

/// The library writes a server's reason for a refusal to standard error, and nowhere else: this
/// takes what is written there while it lives.
class TakenStandardError {
 public:
  TakenStandardError() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
    reader_ = system::FileDescriptor(ends[0]);
    const system::FileDescriptor writer(ends[1]);
    before_ = system::FileDescriptor(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0));
    if (before_) dup2(writer.get(), STDERR_FILENO);
  }
  TakenStandardError(const TakenStandardError&) = delete;
  TakenStandardError& operator=(const TakenStandardError&) = delete;
  ~TakenStandardError() {
    if (before_) dup2(before_.get(), STDERR_FILENO);
  }
  /// The first line so far.
  [[nodiscard]] std::string line() const {
    std::array<char, 1024> text;
    const auto count = before_ ? read(reader_.get(), text.data(), text.size()) : 0;
    const std::string all(text.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    return all.substr(0, all.find('\n'));
  }

 private:
  system::FileDescriptor reader_;
  system::FileDescriptor before_;
};

/// `reason` may be empty.
std::string refusal(const std::string& displayName, std::string reason) {
  const char* const named = displayName.empty() ? std::getenv("DISPLAY") : displayName.c_str();
  if (!named || *named == '\0') return "Tapeloop needs an X display, and DISPLAY names none.";
  std::string sentence = std::string("Tapeloop can't open the X display \"") + named + "\"";
  while (!reason.empty() && (reason.back() == '.' || reason.back() == ' ')) reason.pop_back();
  if (!reason.empty()) sentence += ": " + reason;
  return sentence + ".";
}

xcb_screen_t* screenOf(xcb_connection_t* xcb, int number) {
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(xcb));
  for (; number > 0 && screens.rem > 1; --number) xcb_screen_next(&screens);
  return screens.data;
}

}  // namespace

std::unique_ptr<Connection> Connection::open(system::EpollRunLoop& runLoop,
                                             const std::string& displayName, std::string& error) {
  int screenNumber = 0;
  std::string reason;
  xcb_connection_t* xcb = nullptr;
  {
    const TakenStandardError taken;
    xcb = xcb_connect(displayName.empty() ? nullptr : displayName.c_str(), &screenNumber);
    reason = taken.line();
  }
  if (xcb_connection_has_error(xcb) != 0) {
    xcb_disconnect(xcb);
    error = refusal(displayName, std::move(reason));
    return nullptr;
  }
  return std::unique_ptr<Connection>(
      new Connection(runLoop, displayName, xcb, screenOf(xcb, screenNumber)->root));
}

Connection::Connection(system::EpollRunLoop& runLoop, std::string displayName,
                       xcb_connection_t* xcb, std::uint32_t root)
    : runLoop_(runLoop), displayName_(std::move(displayName)), xcb_(xcb), root_(root) {
  queryExtensions();
  // Changes of the root window and of the windows on it; a client has one mask for all of them.
  const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
  xcb_change_window_attributes(xcb_, root_, XCB_CW_EVENT_MASK, &mask);
  watch_ = runLoop_.watch(xcb_get_file_descriptor(xcb_), [this] { drain(); });
  // A request that waited for its reply may have read events too: they are in memory, and nothing
  // would wake the loop for them.
  beforeWait_ = runLoop_.addBeforeWait([this] {
    const bool handled = drain();
    xcb_flush(xcb_);
    return handled;
  });
}

Connection::~Connection() {
  beforeWait_.reset();
  watch_ = {};
  // The server drops what a client has sent and it has not read yet when it fails to write to it:
  // the last releases of keys have to be read before the connection is closed.
  roundTrip();
  xcb_disconnect(xcb_);
}

void Connection::queryExtensions() {
  for (auto* extension :
       {&xcb_record_id, &xcb_test_id, &xcb_xkb_id, &xcb_input_id, &xcb_randr_id}) {
    xcb_prefetch_extension_data(xcb_, extension);
  }
  extensions_.record = find(xcb_, xcb_record_id) != nullptr;
  extensions_.xtest = find(xcb_, xcb_test_id) != nullptr;
  if (const auto* data = find(xcb_, xcb_xkb_id)) {
    const auto reply =
        own(xcb_xkb_use_extension_reply(xcb_, xcb_xkb_use_extension(xcb_, 1, 0), nullptr));
    extensions_.xkb = reply && reply->supported != 0;
    extensions_.xkbOpcode = data->major_opcode;
    extensions_.xkbFirstEvent = data->first_event;
  }
  if (const auto* data = find(xcb_, xcb_input_id)) {
    const auto reply = own(
        xcb_input_xi_query_version_reply(xcb_, xcb_input_xi_query_version(xcb_, 2, 1), nullptr));
    extensions_.xinput = reply && reply->major_version >= 2;
    extensions_.xinputOpcode = data->major_opcode;
  }
  if (const auto* data = find(xcb_, xcb_randr_id)) {
    const auto reply =
        own(xcb_randr_query_version_reply(xcb_, xcb_randr_query_version(xcb_, 1, 5), nullptr));
    extensions_.randr = reply && (reply->major_version > 1 || reply->minor_version >= 5);
    extensions_.randrFirstEvent = data->first_event;
  }
}

bool Connection::isLost() const {
  return xcb_connection_has_error(xcb_) != 0;
}

std::uint32_t Connection::atom(const std::string& name) const {
  const auto reply = own(xcb_intern_atom_reply(
      xcb_, xcb_intern_atom(xcb_, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
      nullptr));
  return reply ? reply->atom : static_cast<std::uint32_t>(XCB_ATOM_NONE);
}

void Connection::catchUp() {
  roundTrip();
  drain();
}

void Connection::roundTrip() const {
  own(xcb_get_input_focus_reply(xcb_, xcb_get_input_focus(xcb_), nullptr));
}

// What comes in meanwhile waits for the next turn, so that a flood keeps nobody else waiting.
bool Connection::drain() {
  bool handled = false;
  for (auto event = own(xcb_poll_for_event(xcb_)); event;
       event = own(xcb_poll_for_queued_event(xcb_))) {
    handled = true;
    event_(*event);
  }
  drained_();
  if (isLost()) noticeLoss();
  return handled;
}

void Connection::noticeLoss() {
  if (std::exchange(lossNoticed_, true)) return;
  watch_ = {};
  lost_();
}

}  // namespace tapeloop::x11
