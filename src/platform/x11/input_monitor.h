#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "platform/input_monitor.h"
#include "platform/x11/key_grabs.h"
#include "platform/x11/keyboard_map.h"
#include "platform/x11/own_windows.h"
#include "platform/x11/record.h"
#include "platform/x11/recorded_values.h"
#include "platform/x11/screens.h"

namespace tapeloop::x11 {

/// The input monitor. Raw events of XInput 2 come at once, without a position; RECORD has the exact
/// events, but the server buffers them. So a raw event makes this flush RECORD.
class X11InputMonitor final : public InputMonitor {
 public:
  X11InputMonitor(Connection& connection, const KeyboardMap& keyboard, const X11Screens& screens,
                  const OwnWindows& ownWindows, RawInput& input, const KeyGrabs& grabs);
  X11InputMonitor(const X11InputMonitor&) = delete;
  X11InputMonitor& operator=(const X11InputMonitor&) = delete;
  ~X11InputMonitor() override;

  /// Instead of the usual limits.
  void setDoubleClick(DoubleClick limits) { clicks_ = ClickCounter(limits); }

  std::optional<MonitorToken> addGlobalMonitorForEventsMatchingMask(EventMask mask,
                                                                    Handler handler) override;
  void removeMonitor(MonitorToken token) override;

 private:
  struct Monitor {
    MonitorToken token;
    EventMask mask;
    Handler handler;
  };
  // What input is for. Input for our windows and hotkeys is not recorded.
  enum class Aim : std::uint8_t { unknown, ours, otherApplication };
  // A key whose raw event has come.
  struct AnnouncedKey {
    std::uint32_t time;
    std::uint8_t keycode;
    Aim aim;
  };

  bool startStream();
  void stopStream();
  void onRawEvent(const RawEvent& event);
  void onGrabbedKey(const xcb_generic_event_t& event);
  void announceKey(const AnnouncedKey& key);
  void wake();
  void receiveFocus();

  void receive(const DeviceEvent& event);
  [[nodiscard]] Aim aimOfKey(const DeviceEvent& event);
  [[nodiscard]] bool canBeOurs() const;
  [[nodiscard]] Aim announcedAim(const DeviceEvent& event);
  [[nodiscard]] std::optional<Aim> takeAnnouncement(const DeviceEvent& event);
  [[nodiscard]] Aim aimOfPointer(const DeviceEvent& event);
  [[nodiscard]] Aim aimAt(const DeviceEvent& event) const;
  [[nodiscard]] std::optional<InputEvent> translate(const DeviceEvent& event, double timestamp);
  void deliver(const InputEvent& event);

  Connection& connection_;
  const KeyboardMap& keyboard_;
  const X11Screens& screens_;
  const OwnWindows& ownWindows_;
  RawInput& input_;
  const KeyGrabs& grabs_;
  ServerTime serverTime_;
  ClickCounter clicks_{DoubleClick{}};
  RecordedKeys keys_;

  std::vector<std::shared_ptr<Monitor>> monitors_;
  std::uint64_t latestToken_ = 0;
  std::unique_ptr<RecordStream> stream_;  // while any monitor is installed
  // Workaround for a fault of X.Org's RECORD (measured with 21.1): in a batch of over about 240
  // events the first recording client loses data. This context is enabled first and its data thrown
  // away.
  std::unique_ptr<RecordStream> decoy_;
  int receiving_ = 0;  // depth of calls of `receive`

  bool isWakeDue_ = false;   // a raw event came whose event RECORD may still buffer
  unsigned wake_ = 0;        // sequence number of the request under way; 0: none
  std::uint32_t focus_ = 0;  // input focus, from the reply to the latest of these requests
  std::deque<AnnouncedKey> announcedKeys_;  // whose events have not come yet
  Aim pressAim_ = Aim::unknown;             // of the button press that began the present grab
  std::vector<Aim> keyAims_;                // by keycode, of keys that are down

  Subscription raw_;  // while the stream is there
  Subscription events_;
  Subscription drained_;
};

}  // namespace tapeloop::x11
