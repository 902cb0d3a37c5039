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

/// The input monitor on the RECORD extension, woken by raw events of the input extension: those
/// tell at once that something happened, RECORD tells exactly what. Main thread only.
class X11InputMonitor final : public InputMonitor {
 public:
  /// What is handed in outlives the monitor.
  X11InputMonitor(Connection& connection, const KeyboardMap& keyboard, const X11Screens& screens,
                  const OwnWindows& ownWindows, RawInput& input, const KeyGrabs& grabs);
  X11InputMonitor(const X11InputMonitor&) = delete;
  X11InputMonitor& operator=(const X11InputMonitor&) = delete;
  ~X11InputMonitor() override;

  /// Other limits than the usual ones.
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
  // What is ours is a window of the program or one of its hotkeys.
  enum class Aim : std::uint8_t { unknown, ours, otherApplication };
  // A key that a raw event has told of.
  struct AnnouncedKey {
    std::uint32_t time;
    std::uint8_t keycode;
    Aim aim;
  };

  bool startStream();
  void stopStream();
  void hear(const RawEvent& event);
  void handle(const xcb_generic_event_t& event);
  void announceKey(const AnnouncedKey& key);
  void nudge();
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
  // The server forgets what it adds to a recording client's output while it writes that output,
  // which happens to the first such client of a batch of more than about 240 events. This one is
  // first, and nobody listens to it.
  std::unique_ptr<RecordStream> sacrifice_;
  int receiving_ = 0;  // depth of events on the stack

  bool heldBack_ = false;    // a raw event told of something that RECORD may still hold
  unsigned nudge_ = 0;       // sequence number of the nudge under way; 0: none
  std::uint32_t focus_ = 0;  // input focus as of the latest nudge
  std::deque<AnnouncedKey> announcedKeys_;  // whose events have not come yet
  Aim pressAim_ = Aim::unknown;             // of the button press that began the grab in force
  std::vector<Aim> keyAims_;                // by keycode, of keys that are down

  Subscription raw_;  // while the stream is there
  Subscription events_;
  Subscription drained_;
};

}  // namespace tapeloop::x11
