#include "platform/x11/recorded_values.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace tapeloop::x11 {

namespace {

constexpr std::int64_t nanosecondsPerMillisecond = 1'000'000;
// Not every announcement is followed by an event; of old ones there is no use.
constexpr std::size_t mostAnnouncements = 4096;

bool isBefore(std::uint32_t a, std::uint32_t b) {
  return static_cast<std::int32_t>(a - b) < 0;
}

}  // namespace

void ServerTime::announce(std::uint32_t milliseconds, std::int64_t arrival) {
  if (announced_.size() == mostAnnouncements) announced_.pop_front();
  announced_.push_back({milliseconds, arrival});
}

double ServerTime::timestamp(std::uint32_t milliseconds, std::int64_t arrival) {
  while (!announced_.empty() && isBefore(announced_.front().milliseconds, milliseconds)) {
    announced_.pop_front();
  }
  if (!announced_.empty() && announced_.front().milliseconds == milliseconds) {
    arrival = announced_.front().arrival;
    announced_.pop_front();
  }

  // A local server counts the milliseconds of the machine's monotonic clock, so the first event is
  // placed beside its arrival, and every other one beside the event before it.
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
  // The repeat of a held key is that key again, whatever it would do if it were struck now.
  auto& down = down_[keycode];
  if (!down) down = keyCodeOf(keycode, state);
  return down;
}

std::optional<std::uint16_t> RecordedKeys::release(std::uint8_t keycode, std::uint16_t state) {
  if (const auto down = std::exchange(down_[keycode], std::nullopt)) return down;
  // It went down before anybody listened, or was only a modifier.
  return keyboard_.isModifierKey(keycode) ? std::nullopt : keyCodeOf(keycode, state);
}

std::optional<std::uint16_t> RecordedKeys::keyCodeOf(std::uint8_t keycode,
                                                     std::uint16_t state) const {
  if (keyboard_.isModifierKey(keycode) && !keyboard_.switchesLayout(keycode, state)) {
    return std::nullopt;
  }
  const std::uint16_t place = keyboard_.keyCodeOf(keycode);
  const bool isNumLockOn = (state & keyboard_.numLockModifier()) != 0;
  if (isNumLockOn || !keyboard_.dependsOnNumLock(keycode)) return place;
  // Posted under its own place it would get Num Lock.
  const auto other = keyboard_.keyCodeStoodFor(keycode, state);
  return other ? *other : keyCodeWithoutPlace(keycode);
}

}  // namespace tapeloop::x11
