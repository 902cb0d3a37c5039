#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/desktop_services.h"
#include "platform/input_monitor.h"
#include "platform/keyboard_layout.h"

namespace tapeloop::simulated {

/// A layout with the given characters, by key code.
class ScriptedLayout final : public InputSource, public UnicodeKeyLayoutData {
 public:
  explicit ScriptedLayout(std::map<std::uint16_t, std::string> characters)
      : characters_(std::move(characters)) {}
  [[nodiscard]] const UnicodeKeyLayoutData* TISGetInputSourceProperty() const override {
    return this;
  }
  [[nodiscard]] std::optional<std::string> UCKeyTranslate(std::uint16_t keyCode, KeyAction,
                                                          std::uint32_t, std::uint32_t,
                                                          std::uint32_t, std::uint32_t&,
                                                          std::size_t) const override {
    const auto found = characters_.find(keyCode);
    if (found == characters_.end()) return std::nullopt;
    return found->second;
  }

 private:
  const std::map<std::uint16_t, std::string> characters_;
};

/// One layout at a time, at first with the letters a, q and r in their US positions.
class ScriptedKeyboardLayouts final : public KeyboardLayouts {
 public:
  [[nodiscard]] std::shared_ptr<const InputSource>
  TISCopyCurrentASCIICapableKeyboardLayoutInputSource() override {
    return layout_;
  }
  [[nodiscard]] std::uint8_t LMGetKbdType() const override { return 40; }
  Subscription onChange(std::function<void()> callback) override {
    return changed_.connect(std::move(callback));
  }
  /// Null: there is no layout.
  void use(std::shared_ptr<const InputSource> layout) {
    layout_ = std::move(layout);
    changed_();
  }

 private:
  std::shared_ptr<const InputSource> layout_ = std::make_shared<ScriptedLayout>(
      std::map<std::uint16_t, std::string>{{0, "a"}, {12, "q"}, {15, "r"}});
  Signal<> changed_;
};

/// Input to the program's own windows.
class ScriptedLocalInputMonitor final : public LocalInputMonitor {
 public:
  std::optional<LocalMonitorToken> addLocalMonitorForEventsMatchingMask(EventMask mask,
                                                                        Handler handler) override {
    const LocalMonitorToken token{++latestToken_};
    monitors_.emplace(token, Monitor{mask, std::move(handler)});
    return token;
  }
  void removeMonitor(LocalMonitorToken token) override { monitors_.erase(token); }
  Subscription onKeyboardWanted(std::function<void()> callback) override {
    return keyboardWanted.connect(std::move(callback));
  }

  /// To be called when another program wants the keyboard.
  Signal<> keyboardWanted;

  /// Delivers the event; the result tells whether the window gets it.
  EventPass send(const InputEvent& event) {
    const auto monitors = monitors_;
    for (const auto& [token, monitor] : monitors) {
      if (!admits(monitor.mask, event.type)) continue;
      if (monitor.handler(event) == EventPass::swallow) return EventPass::swallow;
    }
    return EventPass::passOn;
  }
  [[nodiscard]] bool isAnyInstalled() const { return !monitors_.empty(); }

 private:
  struct Monitor {
    EventMask mask;
    Handler handler;
  };
  std::map<LocalMonitorToken, Monitor> monitors_;
  std::uint64_t latestToken_ = 0;
};

class CountedSound final : public Sound {
 public:
  void NSBeep() override { ++beeps; }
  int beeps = 0;
};

/// Delivers the events that tests pass to it.
class ScriptedInputMonitor final : public InputMonitor {
 public:
  std::optional<MonitorToken> addGlobalMonitorForEventsMatchingMask(EventMask mask,
                                                                    Handler handler) override;
  void removeMonitor(MonitorToken token) override;

  /// Delivers to every monitor whose mask has the event's type.
  void deliver(const InputEvent& event);
  /// The event has happened, but is not delivered until a monitor is removed.
  void holdBack(const InputEvent& event) { heldBack_.push_back(event); }
  /// From now on no monitor can be added.
  void refuseMonitors() { refuses_ = true; }

  [[nodiscard]] std::size_t installed() const { return monitors_.size(); }

 private:
  struct Monitor {
    MonitorToken token;
    EventMask mask;
    Handler handler;
  };
  static void deliver(const InputEvent& event, const Monitor& monitor);

  std::vector<std::shared_ptr<Monitor>> monitors_;
  std::vector<InputEvent> heldBack_;
  std::uint64_t nextToken_ = 1;
  bool refuses_ = false;
};

}  // namespace tapeloop::simulated
