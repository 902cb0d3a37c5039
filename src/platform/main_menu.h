#pragma once

#include <cstdint>
#include <string>
#include <vector>

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
  std::string keyEquivalent;  ///< Pressed with Command; empty: none.
  Menu submenu;               ///< Without items: none.

  static MenuItem separatorItem() { return {{}, MenuAction::separator, {}, {}}; }
};

/// Shows the menu of the program and carries out its actions.
class MainMenu {
 public:
  virtual ~MainMenu() = default;
  /// Replaces the menu that was shown before.
  virtual void setMainMenu(Menu menu) = 0;
};

}  // namespace tapeloop
