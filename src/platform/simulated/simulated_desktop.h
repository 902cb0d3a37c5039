#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/desktop.h"
#include "platform/simulated/defaults_store.h"
#include "platform/simulated/event_synthesis.h"
#include "platform/simulated/hotkey_service.h"
#include "platform/simulated/input.h"
#include "platform/simulated/run_loop.h"
#include "platform/simulated/window_system.h"

namespace tapeloop::simulated {

/// Records the lines of the trace.
class TraceLines final : public Trace {
 public:
  [[nodiscard]] const std::vector<std::string>& lines() const { return lines_; }
  /// The lines since the last call.
  std::vector<std::string> take() { return std::exchange(lines_, {}); }

 private:
  void write(std::string_view line) override { lines_.emplace_back(line); }

  std::vector<std::string> lines_;
};

class GrantedPermission final : public Permission {
 public:
  [[nodiscard]] bool AXIsProcessTrusted() const override { return granted; }
  bool granted = true;
};

/// The first screen is both the primary and the main one. The list may be empty.
class FixedScreens final : public Screens {
 public:
  [[nodiscard]] std::vector<Screen> screens() const override { return list; }
  [[nodiscard]] std::optional<Screen> mainScreen() const override {
    if (list.empty()) return std::nullopt;
    return list.front();
  }
  [[nodiscard]] std::optional<Point> mouseLocation() const override { return pointer; }
  std::optional<Point> pointer = Point{};
  std::vector<Screen> list{{{{0, 0}, {1440, 900}}}};
};

class CountedAppReview final : public AppReview {
 public:
  void requestReview() override { ++requests; }
  int requests = 0;
};

/// Records the pages that were opened.
class RecordedWorkspace final : public Workspace {
 public:
  bool openURL(std::string_view url) override {
    opened.emplace_back(url);
    return opens;
  }
  std::vector<std::string> opened;
  bool opens = true;
};

class RecordedMainMenu final : public MainMenu {
 public:
  void setMainMenu(Menu installed) override { menu = std::move(installed); }
  [[nodiscard]] const Menu& mainMenu() const override { return menu; }
  Menu menu;
};

/// All services of a desktop, in memory. They record every effect; tests and benchmarks advance the
/// clock and create the input.
struct SimulatedDesktop {
  VirtualRunLoop runLoop;
  TraceLines trace;
  FaultyDefaultsStore defaults;
  GrantedPermission permission;
  ScriptedInputMonitor inputMonitor;
  RecordedEventSynthesis eventSynthesis{runLoop};
  FixedScreens screens;
  RecordedWindowSystem windows;
  CountedAppReview review;
  RecordedWorkspace workspace;
  RecordedMainMenu mainMenu;
  ScriptedHotKeyService hotKeys;
  ScriptedKeyboardLayouts keyboardLayouts;
  ScriptedLocalInputMonitor localInput;
  CountedSound sound;
  NotificationCenter notifications;

  SimulatedDesktop() = default;
  SimulatedDesktop(const SimulatedDesktop&) = delete;
  SimulatedDesktop& operator=(const SimulatedDesktop&) = delete;

  [[nodiscard]] Desktop services() {
    return {runLoop,      runLoop,        trace,   defaults,        permission,
            inputMonitor, eventSynthesis, screens, windows,         review,
            workspace,    mainMenu,       hotKeys, keyboardLayouts, notifications};
  }
};

}  // namespace tapeloop::simulated
