#pragma once

#include <array>
#include <cstdint>

#include <QtCore/QAbstractNativeEventFilter>
#include <QtCore/QByteArray>

struct xcb_client_message_event_t;
struct xcb_connection_t;

namespace tapeloop::qt {

/// Ends a drag from another program when that program goes away in the middle of it. Qt would show
/// it until the next one. Main thread only.
class LostDrags final : public QAbstractNativeEventFilter {
 public:
  /// Qt's own connection, and the part of a window's identifier that tells Qt's windows from
  /// others.
  LostDrags(xcb_connection_t* connection, std::uint32_t base, std::uint32_t mask);
  ~LostDrags() override;

  bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

 private:
  void follow(const xcb_client_message_event_t& message);
  void watch(std::uint32_t source) const;
  void tellLeave() const;

  xcb_connection_t* const connection_;
  const std::uint32_t base_;
  const std::uint32_t mask_;
  std::array<std::uint32_t, 3> atoms_{};
  std::uint32_t source_ = 0;  // 0: no drag of another program is over a window
  std::uint32_t target_ = 0;
};

}  // namespace tapeloop::qt
