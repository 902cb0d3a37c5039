#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "platform/input_event.h"
#include "platform/observable.h"

namespace tapeloop {

/// Identifies an installed monitor.
enum class MonitorToken : std::uint64_t {};

/// Observes input to other applications without consuming or changing it.
class InputMonitor {
 public:
  /// The pointer is never null, and valid during the call only.
  using Handler = std::function<void(const InputEvent*)>;

  virtual ~InputMonitor() = default;

  /// Calls `handler` for each event of a type in `mask` that goes to another application, in order.
  /// Nothing on failure.
  virtual std::optional<MonitorToken> addGlobalMonitorForEventsMatchingMask(EventMask mask,
                                                                            Handler handler) = 0;

  /// First delivers the events that happened before the call. Unknown tokens are ignored.
  virtual void removeMonitor(MonitorToken token) = 0;
};

/// Identifies an installed local monitor.
enum class LocalMonitorToken : std::uint64_t {};

enum class EventPass : std::uint8_t {
  passOn,   ///< The window handles the event.
  swallow,  ///< The window doesn't get the event.
};

/// Sees input to the program's own windows before they do, and may keep it from them. Positions are
/// in points from the top-left corner of the window that gets the event, y downwards. Modifier keys
/// alone are no key events.
class LocalInputMonitor {
 public:
  using Handler = std::function<EventPass(const InputEvent&)>;

  virtual ~LocalInputMonitor() = default;
  /// Calls `handler` for each event of a type in `mask`. It may add and remove monitors.
  virtual std::optional<LocalMonitorToken> addLocalMonitorForEventsMatchingMask(
      EventMask mask, Handler handler) = 0;
  /// Unknown tokens are ignored.
  virtual void removeMonitor(LocalMonitorToken token) = 0;

  /// While keys are monitored the keyboard is grabbed, so that no other program can grab it, a
  /// screen locker for example. `callback` runs when one has tried; key monitors should then be
  /// removed.
  virtual Subscription onKeyboardWanted(std::function<void()> callback) = 0;
};

}  // namespace tapeloop
