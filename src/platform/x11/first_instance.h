#pragma once

#include <cstdint>
#include <functional>

#include "platform/observable.h"
#include "platform/x11/connection.h"

namespace tapeloop::x11 {

/// Tells the first program of a user on a display from later ones. The server knows the first one
/// by a selection, which it takes back when that program ends, however it ends. Main thread only.
class FirstInstance {
 public:
  /// `connection` outlives this object. `onSecondStart` runs when another one has asked for the
  /// first, from the run loop.
  FirstInstance(Connection& connection, std::function<void()> onSecondStart);
  FirstInstance(const FirstInstance&) = delete;
  FirstInstance& operator=(const FirstInstance&) = delete;
  ~FirstInstance();

  /// False if there is another one, which has been told by then.
  [[nodiscard]] bool isFirst() const { return isFirst_; }

 private:
  bool claim();

  Connection& connection_;
  const std::uint32_t selection_;
  const std::uint32_t window_;
  bool isFirst_ = false;
  Subscription events_;
};

}  // namespace tapeloop::x11
