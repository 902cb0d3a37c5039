#pragma once

#include "platform/defaults_store.h"
#include "platform/desktop_services.h"
#include "platform/event_synthesis.h"
#include "platform/hotkey_service.h"
#include "platform/input_monitor.h"
#include "platform/keyboard_layout.h"
#include "platform/run_loop.h"
#include "platform/screens.h"
#include "platform/trace.h"
#include "platform/window_system.h"

namespace tapeloop {

/// References to all services of one desktop, for the code that passes them on. A class takes only
/// those that it uses.
struct Desktop {
  RunLoop& runLoop;
  Clock& clock;
  Trace& trace;
  DefaultsStore& defaults;
  Permission& permission;
  InputMonitor& inputMonitor;
  EventSynthesis& eventSynthesis;
  Screens& screens;
  WindowSystem& windows;
  AppReview& review;
  Workspace& workspace;
  MainMenu& mainMenu;
  HotKeyService& hotKeys;
  KeyboardLayouts& keyboardLayouts;
  NotificationCenter& notifications;
};

}  // namespace tapeloop
