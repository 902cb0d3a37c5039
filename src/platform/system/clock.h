#pragma once

#include "platform/clock.h"

namespace tapeloop::system {

/// The calendar time of the machine.
class SystemClock final : public Clock {
 public:
  [[nodiscard]] double date() const override;
};

}  // namespace tapeloop::system
