#include "platform/x11/server_time.h"

#include <algorithm>

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

}  // namespace tapeloop::x11
