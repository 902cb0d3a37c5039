#pragma once

#include <memory>
#include <utility>

#include "platform/x11/connection.h"
#include "platform/x11/event_synthesis.h"
#include "platform/x11/hotkey_service.h"
#include "platform/x11/input_monitor.h"
#include "platform/x11/key_grabs.h"
#include "platform/x11/keyboard_map.h"
#include "platform/x11/keyboard_state.h"
#include "platform/x11/own_windows.h"
#include "platform/x11/record.h"
#include "platform/x11/screens.h"
#include "platform/x11/session.h"
#include "platform/x11/xtest_devices.h"

namespace tapeloop::x11 {

/// The connection to one X server and every service that runs on it, each declared after those that
/// it uses.
struct Desktop {
  /// `opened` is not null: see Connection::open.
  explicit Desktop(std::unique_ptr<Connection> opened) : connection(std::move(opened)) {}

  const std::unique_ptr<Connection> connection;
  KeyboardMap keyboard{*connection};
  KeyboardState keyboardState{*connection, keyboard};
  RawInput raw{*connection};
  XtestDevices xtestDevices{*connection};
  X11Screens screens{*connection};
  OwnWindows ownWindows{*connection};
  KeyGrabs grabs{*connection, keyboard};
  X11InputMonitor inputMonitor{*connection, keyboard, screens, ownWindows, raw, grabs};
  X11EventSynthesis eventSynthesis{*connection, keyboard,     keyboardState,
                                   screens,     xtestDevices, grabs};
  X11HotKeyService hotKeys{*connection, keyboard, keyboardState, raw, xtestDevices, grabs};
  X11KeyboardLayouts keyboardLayouts{keyboard, keyboardState};
  X11Permission permission{*connection};
  X11Sound sound{*connection};
};

}  // namespace tapeloop::x11
