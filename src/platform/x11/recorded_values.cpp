#include "platform/x11/recorded_values.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace tapeloop::x11 {
namespace {

constexpr std::int64_t nanosecondsPerMillisecond = 1'000'000;
// Some raw events are followed by no recorded event; their entries must not pile up.
constexpr std::size_t mostAnnouncements = 4096;

}  // namespace

void ServerTime::announce(std::uint32_t milliseconds, std::int64_t arrival) {
  if (announced_.size() == mostAnnouncements) announced_.pop_front();
  announced_.push_back({milliseconds, arrival});
}

double ServerTime::timestamp(std::uint32_t milliseconds, std::int64_t arrival) {
  while (!announced_.empty() && isLater(milliseconds, announced_.front().milliseconds)) {
    announced_.pop_front();
  }
  if (!announced_.empty() && announced_.front().milliseconds == milliseconds) {
    arrival = announced_.front().arrival;
    announced_.pop_front();
  }

  // A local server's milliseconds are those of the monotonic clock, so the upper bits of the first
  // event's time are taken from its arrival. Every later one is near the event before it.
  const std::int64_t reference = unwrapped_.value_or(arrival / nanosecondsPerMillisecond);
  const auto difference = static_cast<std::int32_t>(
      milliseconds - static_cast<std::uint32_t>(static_cast<std::uint64_t>(reference)));
  unwrapped_ = std::max<std::int64_t>(reference + difference, 0);

  const std::int64_t first = *unwrapped_ * nanosecondsPerMillisecond;
  const std::int64_t refined = std::clamp(arrival, first, first + nanosecondsPerMillisecond - 1);
  latest_ = std::max(latest_, refined);
  return static_cast<double>(latest_) / 1e9;
}

int ClickCounter::press(std::uint8_t button, double timestamp, int x, int y) {
  if (button >= buttons) {
    latest_ = button;
    return 1;
  }
  const bool inRow = button == latest_ && timestamp - timestamp_ <= limits_.seconds &&
                     std::abs(x - x_) <= limits_.pixels && std::abs(y - y_) <= limits_.pixels;
  counts_[button] = inRow ? counts_[button] + 1 : 1;
  latest_ = button;
  timestamp_ = timestamp;
  x_ = x;
  y_ = y;
  return counts_[button];
}

int ClickCounter::release(std::uint8_t button) const {
  return button < buttons ? counts_[button] : 1;
}

std::optional<std::uint16_t> RecordedKeys::press(std::uint8_t keycode, std::uint16_t state) {
  // A repeat of a held key gets the code of the first press, though modifiers may have changed.
  auto& down = down_[keycode];
  if (!down) down = virtualKey(keycode, state);
  return down;
}

std::optional<std::uint16_t> RecordedKeys::release(std::uint8_t keycode, std::uint16_t state) {
  if (const auto down = std::exchange(down_[keycode], std::nullopt)) return down;
  // The press came before the capture, or was only a modifier's.
  return keyboard_.isModifierKey(keycode) ? std::nullopt : virtualKey(keycode, state);
}

std::optional<std::uint16_t> RecordedKeys::virtualKey(std::uint8_t keycode,
                                                      std::uint16_t state) const {
  if (keyboard_.isModifierKey(keycode) && !keyboard_.switchesLayout(keycode, state)) {
    return std::nullopt;
  }
  const bool isNumLockOn = (state & keyboard_.numLockModifier()) != 0;
  if (isNumLockOn || !keyboard_.dependsOnNumLock(keycode)) return keyboard_.virtualKey(keycode);
  // The key's own virtual key code is posted with Num Lock.
  return keyboard_.virtualKeyWithoutNumLock(keycode, state);
}

}  // namespace tapeloop::x11
