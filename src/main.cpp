#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "app/app_delegate.h"
#include "controller/content_view.h"
#include "controller/settings.h"
#include "controller/sheet_view.h"
#include "hotkeys/recorder_texts.h"
#include "platform/memory_defaults_store.h"
#include "platform/qt/application.h"
#include "platform/qt/desktop_services.h"
#include "platform/qt/local_input_monitor.h"
#include "platform/qt/window_system.h"
#include "platform/system/clock.h"
#include "platform/system/run_loop.h"
#include "platform/system/signals.h"
#include "platform/system/sqlite_defaults_store.h"
#include "platform/system/trace.h"
#include "platform/x11/connection.h"
#include "platform/x11/event_synthesis.h"
#include "platform/x11/first_instance.h"
#include "platform/x11/grab_requests.h"
#include "platform/x11/hotkey_service.h"
#include "platform/x11/input_monitor.h"
#include "platform/x11/key_grabs.h"
#include "platform/x11/keyboard_layouts.h"
#include "platform/x11/keyboard_map.h"
#include "platform/x11/keyboard_state.h"
#include "platform/x11/own_windows.h"
#include "platform/x11/permission.h"
#include "platform/x11/posted_keys.h"
#include "platform/x11/raw_input.h"
#include "platform/x11/screens.h"
#include "platform/x11/sound.h"
#include "views/main_window.h"
#include "views/view_items.h"

namespace tapeloop {
namespace {

constexpr int lostDisplay = 1;
constexpr int couldNotStart = 2;

void complain(const std::string& sentence) {
  std::fprintf(stderr, "tapeloop: %s\n", sentence.c_str());
}

struct Store {
  std::unique_ptr<DefaultsStore> store;
  std::string problem;  ///< One sentence for the user; empty: none.
};

/// The user's store, or one in memory when that can't be opened, so that the program runs.
Store openStore(system::EpollRunLoop& runLoop) {
  const auto file = system::defaultsStorePath();
  if (!file) {
    return {std::make_unique<MemoryDefaultsStore>(),
            "Settings and recordings are not kept: neither XDG_DATA_HOME nor HOME says where."};
  }
  auto opened = system::SqliteDefaultsStore::open(*file);
  if (!opened.store) return {std::make_unique<MemoryDefaultsStore>(), opened.message};
  opened.store->follow(runLoop);
  return {std::move(opened.store), opened.message};
}

/// Says that the X server is gone, once. Qt, whose connection may break first, ends the process by
/// itself, and then nobody but a handler of the exit can say it.
class LossNotice {
 public:
  LossNotice() {
    isDue = true;
    std::atexit(give);
  }
  LossNotice(const LossNotice&) = delete;
  LossNotice& operator=(const LossNotice&) = delete;
  /// The program ends in another way.
  ~LossNotice() { isDue = false; }
  static void give() {
    if (std::exchange(isDue, false)) complain("The connection to the X server is lost.");
  }

 private:
  static constinit inline bool isDue = false;
};

/// The input side of the desktop on one X server.
struct Input {
  Input(x11::Connection& connection, x11::DoubleClick doubleClick)
      : keyboard(connection),
        keyboardState(connection),
        raw(connection),
        screens(connection),
        ownWindows(connection),
        grabs(connection, keyboard),
        monitor(connection, keyboard, screens, ownWindows, raw, grabs, doubleClick),
        synthesis(connection, keyboard, keyboardState, screens, postedKeys, grabs),
        hotKeys(connection, keyboard, keyboardState, raw, postedKeys, grabs),
        layouts(keyboard, keyboardState),
        grabRequests(connection, keyboard),
        permission(connection) {}

  /// Lives as long as this. `client` is what the identifiers of Qt's own resources begin with.
  [[nodiscard]] qt::NativeKeyboard nativeKeyboard(std::uint32_t client) {
    return {[this](std::uint8_t keycode) { return keyboard.keyCodeOf(keycode); },
            [this](std::uint16_t state) {
              const bool isAnyUnnamed = keyboard.unnamedModifiers(state) != 0;
              return keyboard.flagsOf(state) | (isAnyUnnamed ? modifier_flag::unnamed : 0);
            },
            [this](std::uint8_t keycode) { return keyboard.isModifierKey(keycode); },
            [this, client](std::function<void()> callback) {
              return grabRequests.watch(client, std::move(callback));
            }};
  }

  x11::KeyboardMap keyboard;
  x11::KeyboardState keyboardState;
  x11::RawInput raw;
  x11::PostedKeys postedKeys;
  x11::X11Screens screens;
  x11::OwnWindows ownWindows;
  x11::KeyGrabs grabs;
  x11::X11InputMonitor monitor;
  x11::X11EventSynthesis synthesis;
  x11::X11HotKeyService hotKeys;
  x11::X11KeyboardLayouts layouts;
  x11::GrabRequests grabRequests;
  x11::X11Permission permission;
};

/// The window side. The views outlive the windows that show them.
struct Display {
  Display(DefaultsStore& frames, const std::string& missingPermission) : windows(views, frames) {
    registerViews(views, engine, missingPermission);
  }

  QQmlEngine engine;
  qt::ViewRegistry views;
  qt::WindowSystem windows;
};

bool isIgnored(int signal) {
  struct sigaction action {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

/// Everything from the services up, in the order in which it depends on each other; it is taken
/// down in the opposite one, so that capture and playback end while the services are there.
int run(char* program) {
  system::EpollRunLoop runLoop;
  system::StandardOutputTrace trace(runLoop);
  std::string error;
  const auto connection = x11::Connection::open(runLoop, "", error);
  if (!connection) {
    complain(error);
    return couldNotStart;
  }
  MainWindow* window = nullptr;
  const x11::FirstInstance instance(*connection, [&window] {
    if (window) window->bringToFront();
  });
  if (!instance.isFirst()) return 0;
  const auto [store, problem] = openStore(runLoop);
  if (!problem.empty()) complain(problem);

  qt::Application application(program, runLoop, complain, couldNotStart);
  const auto end = [&application](int signal) { application.quit(128 + signal); };
  const system::SignalWatch endSignals(runLoop, {SIGTERM, SIGINT}, end);
  std::optional<system::SignalWatch> hangup;
  if (!isIgnored(SIGHUP)) hangup.emplace(runLoop, std::initializer_list<int>{SIGHUP}, end);
  const LossNotice lossNotice;
  const auto loss = connection->onLost([&application] {
    LossNotice::give();
    application.quit(lostDisplay);
  });

  const auto doubleClick = application.doubleClick();
  Input input(*connection, {doubleClick.seconds, doubleClick.pixels});
  const auto ids = application.clientIds();
  input.ownWindows.addClient(ids.base, ids.mask);
  const std::string missing = input.permission.advice();
  if (!missing.empty()) complain(missing);
  Display display(*store, missing);
  system::SystemClock clock;
  qt::AppReview review;
  qt::Workspace workspace(application.dataFolder());
  qt::MainMenu menu;
  NotificationCenter notifications;
  const Desktop desktop{runLoop,          clock,         trace,           *store,
                        input.permission, input.monitor, input.synthesis, input.screens,
                        display.windows,  review,        workspace,       menu,
                        input.hotKeys,    input.layouts, notifications};

  Settings settings(*store);
  AppDelegate delegate(desktop, settings);
  ContentView contentView(desktop, settings);
  qt::LocalInputMonitor localInput(input.nativeKeyboard(ids.base));
  x11::X11Sound sound(*connection);
  const RecorderTexts texts(qt::loadRecorderTexts(application.dataFolder()));
  SheetView sheet(contentView.showSheetView(), settings, trace,
                  {contentView.keyboardShortcuts(), notifications, input.hotKeys, input.layouts,
                   localInput, menu, sound, texts, runLoop});
  delegate.applicationDidFinishLaunching();
  MainWindow mainWindow(display.engine, contentView, sheet, menu.mainMenu(), *store);
  if (!mainWindow.isShown()) {
    complain(mainWindow.error());
    return couldNotStart;
  }
  window = &mainWindow;
  display.windows.adopt(mainWindow.window());
  contentView.libraryState().storeAlert.set(problem);
  application.onWillUpdate([&delegate] { delegate.applicationWillUpdate(); });
  return application.run();
}

}  // namespace
}  // namespace tapeloop

int main(int argumentCount, char** arguments) {
  tapeloop::system::openStandardDescriptors();
  char name[] = "tapeloop";
  return tapeloop::run(argumentCount > 0 ? arguments[0] : name);
}
