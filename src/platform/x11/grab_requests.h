#pragma once

#include <functional>
#include <memory>

#include "platform/observable.h"
#include "platform/x11/connection.h"
#include "platform/x11/keyboard_map.h"
#include "platform/x11/record_stream.h"

namespace tapeloop::x11 {

/// Tells of other clients' attempts to grab the keyboard, which fail without a word to whoever has
/// grabbed it. Main thread only.
class GrabRequests {
 public:
  /// What is handed in outlives this.
  GrabRequests(Connection& connection, const KeyboardMap& keyboard)
      : connection_(connection), keyboard_(keyboard) {}
  GrabRequests(const GrabRequests&) = delete;
  GrabRequests& operator=(const GrabRequests&) = delete;

  /// `client` is the base of the identifiers of a client whose requests do not count, which comes
  /// with its connection setup. `callback` runs from the run loop. For one subscription at a time.
  Subscription watch(std::uint32_t client, std::function<void()> callback);

 private:
  [[nodiscard]] bool isForKeyboard(const RecordedRequest& request) const;

  Connection& connection_;
  const KeyboardMap& keyboard_;
  std::unique_ptr<RecordStream> stream_;  // while somebody watches
};

}  // namespace tapeloop::x11
