#pragma once

#include <utility>

#include "platform/desktop_services.h"

namespace tapeloop::qt {

/// Keeps the menu for the windows, which draw it. Main thread only.
class MainMenu final : public tapeloop::MainMenu {
 public:
  void setMainMenu(Menu menu) override { menu_ = std::move(menu); }
  [[nodiscard]] const Menu& mainMenu() const override { return menu_; }

 private:
  Menu menu_;
};

}  // namespace tapeloop::qt
