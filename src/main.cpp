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
#include "hotkeys/recorder_cocoa.h"
#include "platform/memory_defaults_store.h"
#include "platform/qt/application.h"
#include "platform/qt/desktop_services.h"
#include "platform/qt/local_input_monitor.h"
#include "platform/qt/window_system.h"
#include "platform/system/run_loop.h"
#include "platform/system/signals.h"
#include "platform/system/sqlite_defaults_store.h"
#include "platform/system/trace.h"
#include "platform/x11/connection.h"
#include "platform/x11/desktop.h"
#include "platform/x11/session.h"
#include "views/main_window.h"

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

/// Writes once that the X server is gone. If Qt's own connection breaks first, Qt calls exit():
/// then it is written by an exit handler.
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

/// `client` is the base of the identifiers of Qt's own resources.
qt::NativeKeyboard nativeKeyboard(x11::Desktop& x, std::uint32_t client) {
  return {[&x](std::uint8_t keycode) { return x.keyboard.virtualKey(keycode); },
          [&x](std::uint16_t state) {
            const bool isAnyUnnamed = x.keyboard.unnamedModifiers(state) != 0;
            return x.keyboard.flagsOf(state) | (isAnyUnnamed ? modifier_flag::unnamed : 0);
          },
          [&x](std::uint8_t keycode) { return x.keyboard.isModifierKey(keycode); },
          [&x, client](std::function<void()> callback) {
            return x11::onGrabRequest(*x.connection, x.keyboard, client, std::move(callback));
          }};
}

/// The windows, and before them the views that they refer to.
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
  auto connection = x11::Connection::open(runLoop, "", error);
  if (!connection) {
    complain(error);
    return couldNotStart;
  }
  x11::Desktop x(std::move(connection));
  MainWindow* window = nullptr;
  const x11::FirstInstance instance(*x.connection, [&window] {
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
  const auto loss = x.connection->onLost([&application] {
    LossNotice::give();
    application.quit(lostDisplay);
  });

  const auto doubleClick = application.doubleClick();
  x.inputMonitor.setDoubleClick({doubleClick.seconds, doubleClick.pixels});
  const auto ids = application.clientIds();
  x.ownWindows.addClient(ids.base, ids.mask);
  const std::string missing = x.permission.advice();
  if (!missing.empty()) complain(missing);
  Display display(*store, missing);
  system::SystemClock clock;
  qt::AppReview review;
  qt::Workspace workspace(application.dataFolder());
  qt::MainMenu menu;
  NotificationCenter notifications;
  const Desktop desktop{.runLoop = runLoop,
                        .clock = clock,
                        .trace = trace,
                        .defaults = *store,
                        .permission = x.permission,
                        .inputMonitor = x.inputMonitor,
                        .eventSynthesis = x.eventSynthesis,
                        .screens = x.screens,
                        .windows = display.windows,
                        .review = review,
                        .workspace = workspace,
                        .mainMenu = menu,
                        .hotKeys = x.hotKeys,
                        .keyboardLayouts = x.keyboardLayouts,
                        .notifications = notifications};

  Settings settings(*store);
  AppDelegate delegate(desktop, settings);
  ContentView contentView(desktop, settings);
  qt::LocalInputMonitor localInput(nativeKeyboard(x, ids.base));
  const RecorderTexts texts(qt::loadRecorderTexts(application.dataFolder()));
  SheetView sheet(contentView.showSheetView(), settings, trace,
                  {contentView.keyboardShortcuts(), notifications, x.hotKeys, x.keyboardLayouts,
                   localInput, menu, x.sound, texts, runLoop});
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
