#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "hotkeys/keyboard_shortcuts.h"
#include "platform/desktop_services.h"
#include "platform/input_monitor.h"
#include "platform/keyboard_layout.h"
#include "platform/observable.h"
#include "platform/run_loop.h"
#include "platform/screens.h"

namespace tapeloop {

/// The texts of the recorder control by key, with built-in English ones for those that are missing.
class RecorderTexts {
 public:
  RecorderTexts() = default;
  explicit RecorderTexts(std::map<std::string, std::string, std::less<>> texts)
      : texts_(std::move(texts)) {}

  /// UTF-8. Empty for an unknown key.
  [[nodiscard]] std::string_view text(std::string_view key) const;
  /// The text of the key with its first "%@" replaced by `argument`.
  [[nodiscard]] std::string format(std::string_view key, std::string_view argument) const;

 private:
  std::map<std::string, std::string, std::less<>> texts_;
};

struct RecorderServices {
  KeyboardShortcuts& shortcuts;
  NotificationCenter& notifications;
  HotKeyService& hotKeys;
  KeyboardLayouts& layouts;
  LocalInputMonitor& localInput;
  const MainMenu& mainMenu;
  Sound& sound;
  const RecorderTexts& texts;
  RunLoop& runLoop;
};

/// Why a combination was refused.
struct RecorderAlert {
  std::string title;
  std::string informativeText;  ///< May be empty.
  friend bool operator==(const RecorderAlert&, const RecorderAlert&) = default;
};

/// The field in which the user types the combination of a slot. While it records it grabs the
/// keyboard, so that no other program gets the keys. Recording ends when another program asks for
/// the keyboard, or `timeout` seconds after the latest key. The view draws the field, reports focus
/// changes, and carries out `onFocusRequest`.
class RecorderCocoa {
 public:
  using OnChange = std::function<void(const std::optional<Shortcut>&)>;
  static constexpr double minimumWidth = 130;  ///< Points; also its preferred width.
  static constexpr double timeout = 10;        ///< Seconds.

  RecorderCocoa(const RecorderServices& services, Name name, OnChange onChange = {});
  RecorderCocoa(const RecorderCocoa&) = delete;
  RecorderCocoa& operator=(const RecorderCocoa&) = delete;
  ~RecorderCocoa();

  // What the view shows.
  State<std::string> stringValue;             ///< Display text of the slot; empty: none.
  State<std::string> placeholderString;       ///< Shown while there is no text.
  State<bool> showsCancelButton{false};       ///< The button that clears the slot.
  State<bool> isRecording{false};             ///< The caret is invisible then.
  State<std::optional<RecorderAlert>> alert;  ///< To be shown over the window.

  [[nodiscard]] const Name& shortcutName() const { return shortcutName_; }
  void setShortcutName(Name name);

  // What the view reports.
  /// `inWindow` returns the current bounds of the field. Called for each release of a button.
  void setBounds(std::function<Rect()> inWindow) { bounds_ = std::move(inWindow); }
  void becomeFirstResponder();
  void resignFirstResponder();
  void cancelButtonPressed();
  /// Recording resumes.
  void dismissAlert();

  /// Called with true to give the field the focus, with false to take it away.
  Subscription onFocusRequest(std::function<void(bool)> callback) {
    return focusRequested_.connect(std::move(callback));
  }

 private:
  EventPass handle(const InputEvent& event);
  EventPass handleKey(const InputEvent& event);
  void refuse(RecorderAlert alert);
  void accept(const Shortcut& shortcut);
  void giveUpKeyboard();
  void restartTimeout();
  void endRecording();
  void showShortcut();
  void showCancelButtonIfText();

  const RecorderServices services_;
  Name shortcutName_;
  const OnChange onChange_;
  std::function<Rect()> bounds_;
  // Set while it records.
  std::optional<LocalMonitorToken> eventMonitor_;
  Subscription keyboardWanted_;
  TimerRef timedOut_;
  Signal<bool> focusRequested_;
  Subscription observer_;
  Subscription layoutChanged_;
};

}  // namespace tapeloop
