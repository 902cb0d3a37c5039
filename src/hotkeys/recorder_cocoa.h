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

/// What the recorder control says, by key. Keys that nobody has given a text have an English one.
class RecorderTexts {
 public:
  RecorderTexts() = default;
  explicit RecorderTexts(std::map<std::string, std::string, std::less<>> texts)
      : texts_(std::move(texts)) {}

  /// UTF-8. Empty for an unknown key.
  [[nodiscard]] std::string_view text(std::string_view key) const;
  /// The text of the key with `argument` in the place of its first "%@".
  [[nodiscard]] std::string format(std::string_view key, std::string_view argument) const;

 private:
  std::map<std::string, std::string, std::less<>> texts_;
};

/// What a recorder control works with. All of it outlives the control.
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

/// Why a combination was turned down.
struct RecorderAlert {
  std::string title;
  std::string informativeText;  ///< May be empty.
  friend bool operator==(const RecorderAlert&, const RecorderAlert&) = default;
};

/// The field in which the user types the combination of a slot. It records while it has the
/// keyboard, which nobody else gets meanwhile: it lets go of it when another program wants it, or
/// when no key has come for a while. A view draws it, says when the keyboard comes and goes, and
/// gives it the keyboard or takes it away when the field asks for it. Main thread only.
class RecorderCocoa {
 public:
  using OnChange = std::function<void(const std::optional<Shortcut>&)>;
  static constexpr double minimumWidth = 130;  ///< Points; also the width that it would like.
  static constexpr double timeout = 10;        ///< Seconds without a key, after which it ends.

  RecorderCocoa(const RecorderServices& services, Name name, OnChange onChange = {});
  RecorderCocoa(const RecorderCocoa&) = delete;
  RecorderCocoa& operator=(const RecorderCocoa&) = delete;
  ~RecorderCocoa();

  // What the view shows.
  State<std::string> stringValue;             ///< Display text of the slot; empty: none.
  State<std::string> placeholderString;       ///< Shown while there is no text.
  State<bool> showsCancelButton{false};       ///< The button that clears the slot.
  State<bool> isRecording{false};             ///< The caret is invisible meanwhile.
  State<std::optional<RecorderAlert>> alert;  ///< To be shown over the window.

  [[nodiscard]] const Name& shortcutName() const { return shortcutName_; }
  void setShortcutName(Name name);

  // What the view says.
  /// `inWindow` tells where the field is at the moment, which is asked for with each press of a
  /// button.
  void setBounds(std::function<Rect()> inWindow) { bounds_ = std::move(inWindow); }
  void becomeFirstResponder();
  void resignFirstResponder();
  void cancelButtonPressed();
  /// The alert was read: recording resumes.
  void dismissAlert();

  /// The field wants the keyboard (true) or wants to be without it.
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
  // While it records.
  std::optional<LocalMonitorToken> eventMonitor_;
  Subscription keyboardWanted_;
  TimerRef timedOut_;
  Signal<bool> focusRequested_;
  Subscription observer_;
  Subscription layoutChanged_;
};

}  // namespace tapeloop
