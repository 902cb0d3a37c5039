#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/input_event.h"

namespace tapeloop {

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

}  // namespace tapeloop
