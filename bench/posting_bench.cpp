#include <functional>
#include <string_view>
#include <vector>

#include "figures.h"
#include "platform/event_synthesis.h"
#include "support/x11_desktop.h"
#include "support/x_server.h"
#include "support/x_user.h"

// What it costs the program to post one event, beside a loop that posts the same through XTEST with
// one flush per event and does nothing else.

namespace {

using namespace tapeloop;
using support::XAction;
using support::XEventKind;

constexpr int batches = 400;
constexpr int batchSize = 50;
constexpr double limit = 1.5;

/// One event as each of the two posts it.
struct Pair {
  InputEvent event;
  XAction action;
};

Pair move(int i) {
  const auto x = static_cast<std::int16_t>(100 + i % 600);
  const auto y = static_cast<std::int16_t>(100 + i % 400);
  return {{.type = EventType::mouseMoved, .locationInWindow = {double(x), double(y)}},
          {XEventKind::motion, 0, x, y}};
}

std::vector<Pair> moves() {
  std::vector<Pair> pairs;
  for (int i = 0; i < batchSize; ++i) pairs.push_back(move(i));
  return pairs;
}

/// Of ten events six are moves, two a click where the pointer is, two a key.
std::vector<Pair> mix(std::uint8_t keycode, std::uint16_t keyCode) {
  std::vector<Pair> pairs;
  while (pairs.size() < batchSize) {
    for (int i = 0; i < 6; ++i) pairs.push_back(move(static_cast<int>(pairs.size())));
    const Point place = pairs.back().event.locationInWindow;
    pairs.push_back({{.type = EventType::leftMouseDown, .locationInWindow = place},
                     {XEventKind::buttonPress, 1}});
    pairs.push_back({{.type = EventType::leftMouseUp, .locationInWindow = place},
                     {XEventKind::buttonRelease, 1}});
    pairs.push_back({{.type = EventType::keyDown, .keyCode = keyCode, .locationInWindow = place},
                     {XEventKind::keyPress, keycode}});
    pairs.push_back({{.type = EventType::keyUp, .keyCode = keyCode, .locationInWindow = place},
                     {XEventKind::keyRelease, keycode}});
  }
  return pairs;
}

void post(EventSynthesis& synthesis, const InputEvent& event) {
  std::optional<SyntheticEvent> made;
  if (event.type == EventType::keyDown || event.type == EventType::keyUp) {
    made = synthesis.CGEventCreateKeyboardEvent(event.keyCode, event.type == EventType::keyDown);
  } else {
    made = synthesis.CGEventCreateMouseEvent(event.type, event.locationInWindow, MouseButton::left);
  }
  if (made) synthesis.CGEventPost(TapLocation::hid, *made);
}

/// Microseconds per event, the median over batches. The server takes each batch in before the next
/// one begins.
double cost(const std::function<void()>& postBatch, const support::XUser& poster,
            std::vector<double>& costs) {
  const auto start = support::monotonicNow();
  postBatch();
  costs.push_back(static_cast<double>(support::monotonicNow() - start) / 1000 / batchSize);
  poster.sync();
  return costs.back();
}

bool compare(std::string_view name, const std::vector<Pair>& pairs, EventSynthesis& synthesis,
             const support::XUser& poster) {
  std::vector<double> ours;
  std::vector<double> floor;
  for (int batch = 0; batch < batches; ++batch) {
    cost(
        [&] {
          for (const auto& pair : pairs) post(synthesis, pair.event);
        },
        poster, ours);
    cost(
        [&] {
          for (const auto& pair : pairs) {
            poster.post(pair.action);
            poster.flush();
          }
        },
        poster, floor);
  }
  return bench::report(name, bench::quantile(ours, 0.5), bench::quantile(floor, 0.5), "us", limit);
}

bool run() {
  const support::XServer server;
  const support::XUser poster(server.display());
  support::X11Desktop desktop(server.display());
  auto& synthesis = desktop.x.eventSynthesis;
  const auto session = synthesis.beginPosting();
  const bool movesMet = compare("posting a move", moves(), synthesis, poster);
  const std::uint16_t virtualA = 0;  // the key in the place of A
  const bool mixMet =
      compare("posting a mix", mix(poster.keycode("a"), virtualA), synthesis, poster);
  return movesMet && mixMet;
}

}  // namespace

int main() {
  return tapeloop::bench::exitStatusOf(run);
}
