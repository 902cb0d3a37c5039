#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/input_event.h"
#include "platform/observable.h"

namespace tapeloop {

/// Whether this program may observe and post input anywhere on the desktop.
class Permission {
 public:
  virtual ~Permission() = default;
  /// The current state; shows no prompt.
  [[nodiscard]] virtual bool AXIsProcessTrusted() const = 0;
};

/// The desktop's alert sound.
class Sound {
 public:
  virtual ~Sound() = default;
  virtual void NSBeep() = 0;
};

/// Asks the user to review the program. The desktop decides whether to show anything.
class AppReview {
 public:
  virtual ~AppReview() = default;
  virtual void requestReview() = 0;
};

/// Opens pages in other programs.
class Workspace {
 public:
  virtual ~Workspace() = default;
  /// Shows the page in the user's browser. True if a browser was started. The scheme "tapeloop:"
  /// stands for a page that is installed with the program.
  virtual bool openURL(std::string_view url) = 0;
};

enum class MenuAction : std::uint8_t {
  none,
  separator,
  orderFrontStandardAboutPanel,  ///< Shows the name and the version of the program.
  terminate,
};

struct MenuItem;

struct Menu {
  std::string title;
  std::vector<MenuItem> items;
};

struct MenuItem {
  std::string title;
  MenuAction action = MenuAction::none;
  std::string keyEquivalent;  ///< The character of the shortcut's key; empty: no shortcut.
  Menu submenu;               ///< No items: no submenu.
  /// The modifier flags of the shortcut; several entries are alternatives.
  std::vector<std::uint64_t> keyEquivalentModifierMasks{modifier_flag::command};

  static MenuItem separatorItem() { return {{}, MenuAction::separator, {}, {}}; }
};

/// Shows the program's menu and runs the actions of its items.
class MainMenu {
 public:
  virtual ~MainMenu() = default;
  /// Replaces the menu that was shown before.
  virtual void setMainMenu(Menu menu) = 0;
  /// The menu set last; empty before. Valid until another one is set.
  [[nodiscard]] virtual const Menu& mainMenu() const = 0;
};

struct Notification {
  std::string name;
  std::map<std::string, std::string> userInfo;
};

/// Calls the observers of a name whenever a notification of that name is posted.
class NotificationCenter {
 public:
  using Observer = std::function<void(const Notification&)>;

  /// Calls the observers before it returns.
  void postNotificationName(std::string_view name, std::map<std::string, std::string> userInfo) {
    posted_({std::string(name), std::move(userInfo)});
  }

  Subscription addObserverForName(std::string_view name, Observer observer) {
    return posted_.connect([name = std::string(name),
                            observer = std::move(observer)](const Notification& notification) {
      if (notification.name == name) observer(notification);
    });
  }

 private:
  Signal<const Notification&> posted_;
};

}  // namespace tapeloop
