#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "platform/input_event.h"

namespace tapeloop {

/// Names one installed monitor.
enum class MonitorToken : std::uint64_t {};

/// Observes input anywhere on the desktop without consuming or altering it.
class InputMonitor {
 public:
  /// The pointer is never null; what it points to lives for the call.
  using Handler = std::function<void(const InputEvent*)>;

  virtual ~InputMonitor() = default;

  /// `handler` runs on the main thread, once for each event of an admitted type that is directed at
  /// another application, in order of delivery. Nothing on failure.
  virtual std::optional<MonitorToken> addGlobalMonitorForEventsMatchingMask(EventMask mask,
                                                                            Handler handler) = 0;

  /// Delivers what happened before the call and has not been delivered yet, and then nothing more.
  /// An unknown token is ignored.
  virtual void removeMonitor(MonitorToken token) = 0;
};

}  // namespace tapeloop
