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
  /// Answers as things are now, and shows nothing.
  [[nodiscard]] virtual bool AXIsProcessTrusted() const = 0;
};

/// The desktop's sound for what can't be done.
class Sound {
 public:
  virtual ~Sound() = default;
  virtual void NSBeep() = 0;
};

/// Asks the user for a review of the program. Whether anything is shown is up to the desktop.
class AppReview {
 public:
  virtual ~AppReview() = default;
  virtual void requestReview() = 0;
};

/// Opens what other programs show. Main thread only.
class Workspace {
 public:
  virtual ~Workspace() = default;
  /// Shows the page in the user's browser. True if it was handed to one. The scheme "tapeloop:"
  /// names a page that ships with the program.
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
  std::string keyEquivalent;  ///< What the key writes; empty: none.
  Menu submenu;               ///< Without items: none.
  /// The modifier flags that the key is pressed with, each set of them a way of its own.
  std::vector<std::uint64_t> keyEquivalentModifierMasks{modifier_flag::command};

  static MenuItem separatorItem() { return {{}, MenuAction::separator, {}, {}}; }
};

/// Shows the menu of the program and carries out its actions.
class MainMenu {
 public:
  virtual ~MainMenu() = default;
  /// Replaces the menu that was shown before.
  virtual void setMainMenu(Menu menu) = 0;
  /// Without items before one was set. Lives until another one is.
  [[nodiscard]] virtual const Menu& mainMenu() const = 0;
};

struct Notification {
  std::string name;
  std::map<std::string, std::string> userInfo;
};

/// Tells whoever observes a name of what is posted under it. Main thread only.
class NotificationCenter {
 public:
  using Observer = std::function<void(const Notification&)>;

  /// Observers run before this returns.
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
