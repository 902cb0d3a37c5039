#pragma once

namespace tapeloop {

/// The desktop's sound for what can't be done.
class Sound {
 public:
  virtual ~Sound() = default;
  virtual void NSBeep() = 0;
};

}  // namespace tapeloop
