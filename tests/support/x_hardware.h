#pragma once

#include <string>

#include "support/x_server.h"
#include "support/x_user.h"

namespace tapeloop::support {

/// A user who has a keyboard and a mouse with a wheel, those of an X.Org server. What they do comes
/// in through the server's driver and its input thread, and nothing about it is XTEST's.
class XHardware final : public XUser {
 public:
  explicit XHardware(const XServer& server);
  /// Returns when the server has taken the event in.
  void post(const XAction& action) const override;

 private:
  /// The other end of one device.
  class Device {
   public:
    explicit Device(const std::string& socketPath);
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    ~Device();
    template <typename Event>
    void send(Event event) const;

   private:
    const int socket_;
  };
  void move(int x, int y) const;
  void turnWheel(std::uint8_t button) const;

  Device keyboard_;
  Device mouse_;
};

}  // namespace tapeloop::support
