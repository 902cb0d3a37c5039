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

/// Reads what is written to standard error while this lives: libxcb writes the reason of a refused
/// connection there and nowhere else.
class CapturedStandardError {
 public:
  CapturedStandardError() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
    reader_ = system::FileDescriptor(ends[0]);
    const system::FileDescriptor writer(ends[1]);
    before_ = system::FileDescriptor(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0));
    if (before_) dup2(writer.get(), STDERR_FILENO);
  }
  CapturedStandardError(const CapturedStandardError&) = delete;
  CapturedStandardError& operator=(const CapturedStandardError&) = delete;
  ~CapturedStandardError() {
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

/// One sentence for the user. `reason` may be empty.
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
    const CapturedStandardError captured;
    xcb = xcb_connect(displayName.empty() ? nullptr : displayName.c_str(), &screenNumber);
    reason = captured.line();
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
  // Changes of the root window and of its children. The server keeps one mask for a client and
  // window, so what the screens and the own windows listen for is selected here together.
  const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
  xcb_change_window_attributes(xcb_, root_, XCB_CW_EVENT_MASK, &mask);
  watch_ = runLoop_.watch(xcb_get_file_descriptor(xcb_), [this] { drain(); });
  // Waiting for a reply may have read events too. They are in libxcb's queue, where the descriptor
  // does not show them.
  beforeWait_ = runLoop_.addBeforeWait([this] {
    const bool handled = drain();
    xcb_flush(xcb_);
    return handled;
  });
}

Connection::~Connection() {
  beforeWait_.reset();
  watch_ = {};
  // X.Org drops unread requests of a client when writing to it fails, as it does after a
  // disconnection: without a round trip the last posted releases of keys could be lost.
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
    const auto answer = reply(xcb_xkb_use_extension_reply, xcb_xkb_use_extension(xcb_, 1, 0));
    extensions_.xkb = answer && answer->supported != 0;
    extensions_.xkbOpcode = data->major_opcode;
    extensions_.xkbFirstEvent = data->first_event;
  }
  if (const auto* data = find(xcb_, xcb_input_id)) {
    const auto answer =
        reply(xcb_input_xi_query_version_reply, xcb_input_xi_query_version(xcb_, 2, 1));
    extensions_.xinput = answer && answer->major_version >= 2;
    extensions_.xinputOpcode = data->major_opcode;
  }
  if (const auto* data = find(xcb_, xcb_randr_id)) {
    const auto answer = reply(xcb_randr_query_version_reply, xcb_randr_query_version(xcb_, 1, 5));
    extensions_.randr = answer && (answer->major_version > 1 || answer->minor_version >= 5);
    extensions_.randrFirstEvent = data->first_event;
  }
}

std::uint32_t Connection::atom(const std::string& name) const {
  const auto length = static_cast<std::uint16_t>(name.size());
  const auto answer = reply(xcb_intern_atom_reply, xcb_intern_atom(xcb_, 0, length, name.c_str()));
  return answer ? answer->atom : static_cast<std::uint32_t>(XCB_ATOM_NONE);
}

std::vector<InputDevice> Connection::inputDevices() const {
  std::vector<InputDevice> devices;
  if (!extensions_.xinput) return devices;
  const auto answer =
      reply(xcb_input_xi_query_device_reply, xcb_input_xi_query_device(xcb_, XCB_INPUT_DEVICE_ALL));
  if (!answer) return devices;
  for (auto i = xcb_input_xi_query_device_infos_iterator(answer.get()); i.rem > 0;
       xcb_input_xi_device_info_next(&i)) {
    devices.push_back({i.data->deviceid,
                       i.data->type,
                       {xcb_input_xi_device_info_name(i.data), i.data->name_len}});
  }
  return devices;
}

void Connection::catchUp() {
  roundTrip();
  drain();
}

// Events that arrive meanwhile wait for the next turn of the loop, so that a flood of them does not
// hold up the timers.
bool Connection::drain() {
  bool handled = false;
  for (auto event = own(xcb_poll_for_event(xcb_)); event;
       event = own(xcb_poll_for_queued_event(xcb_))) {
    handled = true;
    event_(*event);
  }
  drained_();
  if (isLost() && !std::exchange(isLossNotified_, true)) {
    watch_ = {};
    lost_();
  }
  return handled;
}

}  // namespace tapeloop::x11
