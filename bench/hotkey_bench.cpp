#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>
#include <xcb/xcb.h>

#include "controller/shortcut_slots.h"
#include "figures.h"
#include "support/x11_desktop.h"
#include "support/x_connection.h"
#include "support/x_events.h"
#include "support/x_server.h"
#include "support/x_user.h"

// From the key event at the server to the action, beside a client that grabs a key and does nothing
// else; and how much later an Escape that nobody needs reaches the application that has the focus.

namespace {

using namespace tapeloop;
using namespace std::chrono_literals;
using support::monotonicNow;

constexpr int strokes = 1000;
constexpr auto pause = 2ms;
constexpr auto timeout = std::chrono::milliseconds(30'000);
constexpr double limit = 2;
constexpr double mostEscapeDelay = 1000;  // microseconds

/// When something happened that another thread waits for.
class Moment {
 public:
  void happens() { time_ = monotonicNow(); }
  /// Microseconds since `start`.
  double waitSince(std::int64_t start) {
    while (time_ == 0) std::this_thread::yield();
    return static_cast<double>(time_.exchange(0) - start) / 1000;
  }

 private:
  std::atomic<std::int64_t> time_ = 0;
};

double strike(const support::XUser& poster, std::uint8_t keycode, Moment& moment) {
  std::this_thread::sleep_for(pause);
  const auto start = monotonicNow();
  poster.post({.kind = support::XEventKind::keyPress, .detail = keycode});
  poster.flush();
  const double latency = moment.waitSince(start);
  poster.releaseKey(keycode);
  return latency;
}

/// A thread with nothing but a grab in it.
std::jthread startGrabber(const std::string& display, std::uint8_t keycode, Moment& pressed) {
  std::promise<void> ready;
  auto isReady = ready.get_future();
  std::jthread thread([&, display, keycode](const std::stop_token& stop) {
    const support::XConnection connection(display);
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_grab_key(connection, 0, root, 0, keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    connection.sync();
    ready.set_value();
    pollfd readable{xcb_get_file_descriptor(connection), POLLIN, 0};
    while (!stop.stop_requested()) {
      poll(&readable, 1, 100);
      while (auto* event = xcb_poll_for_event(connection)) {
        if ((event->response_type & 0x7f) == XCB_KEY_PRESS) pressed.happens();
        std::free(event);
      }
    }
  });
  isReady.wait();
  return thread;
}

/// The program in a thread of its own, with an action on a function key's press.
std::jthread startProgram(const std::string& display, const Shortcut& shortcut, Moment& pressed) {
  std::promise<void> ready;
  auto isReady = ready.get_future();
  std::jthread thread([&, display, shortcut](const std::stop_token& stop) {
    support::X11Desktop desktop(display);
    auto& shortcuts = desktop.contentView.keyboardShortcuts();
    const Name slot{"bench", std::nullopt};
    shortcuts.onKeyDown(slot, [&pressed] { pressed.happens(); });
    shortcuts.setShortcut(slot, shortcut);
    desktop.sync();
    ready.set_value();
    while (!stop.stop_requested()) (void)desktop.runUntil([] { return false; }, 100ms);
  });
  isReady.wait();
  return thread;
}

/// Microseconds from the post of an Escape to its arrival at the window.
std::vector<double> escapes(const support::XUser& poster, support::XWindow& window) {
  const auto escape = poster.keycode("Escape");
  std::vector<double> latencies;
  for (int i = 0; i < strokes; ++i) {
    std::this_thread::sleep_for(pause);
    window.clear();
    const auto start = monotonicNow();
    poster.post({.kind = support::XEventKind::keyPress, .detail = escape});
    poster.flush();
    if (!window.waitFor(1, timeout)) return {};
    latencies.push_back(static_cast<double>(window.events().front().arrival - start) / 1000);
    poster.releaseKey(escape);
  }
  return latencies;
}

bool run() {
  const support::XServer server;
  const support::XUser poster(server.display());
  support::XWindow window(server.display());
  const auto alone = escapes(poster, window);

  Moment ours;
  Moment floor;
  constexpr Shortcut f5{96, 0};
  const auto program = startProgram(server.display(), f5, ours);
  const auto grabber = startGrabber(server.display(), poster.keycode("F6"), floor);
  std::vector<double> ourLatencies;
  std::vector<double> floorLatencies;
  for (int i = 0; i < strokes; ++i) {
    ourLatencies.push_back(strike(poster, poster.keycode("F5"), ours));
    floorLatencies.push_back(strike(poster, poster.keycode("F6"), floor));
  }
  using bench::quantile;
  bool met = true;
  for (const double share : {0.5, 0.99}) {
    const std::string name = "hotkey to action, quantile " + std::to_string(share).substr(0, 4);
    met &= bench::report(name, quantile(ourLatencies, share), quantile(floorLatencies, share), "us",
                         limit);
  }
  const auto together = escapes(poster, window);
  for (const double share : {0.5, 0.99}) {
    const double delay = quantile(together, share) - quantile(alone, share);
    const bool inTime = !together.empty() && delay <= mostEscapeDelay;
    std::printf(
        "Escape that nobody needs, quantile %.2f: %.1f us later than %.1f us, limit %.0f %s\n",
        share, delay, quantile(alone, share), mostEscapeDelay, inTime ? "OK" : "FAIL");
    met &= inTime;
  }
  return met;
}

}  // namespace

int main() {
  return tapeloop::bench::exitStatusOf(run);
}
