#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "platform/desktop_services.h"

namespace tapeloop::qt {

/// X11 desktops have no service for reviews: a request does nothing.
class AppReview final : public tapeloop::AppReview {
 public:
  void requestReview() override {}
};

/// Keeps the menu. The windows draw it and carry out its actions.
class MainMenu final : public tapeloop::MainMenu {
 public:
  void setMainMenu(Menu menu) override { menu_ = std::move(menu); }
  [[nodiscard]] const Menu& mainMenu() const override { return menu_; }

 private:
  Menu menu_;
};

/// Opens pages in the browser that is set for the desktop.
class Workspace final : public tapeloop::Workspace {
 public:
  /// `pages` is the folder of the pages that ship with the program.
  explicit Workspace(std::string pages) : pages_(std::move(pages)) {}
  bool openURL(std::string_view url) override;

 private:
  const std::string pages_;
};

/// The texts of the bundle "KeyboardShortcuts_KeyboardShortcuts.bundle" in `dataFolder`, by key: in
/// the user's language if the bundle has it, else in English. Empty, after a line on standard
/// error, if the bundle can't be found or read.
std::map<std::string, std::string, std::less<>> loadRecorderTexts(const std::string& dataFolder);

}  // namespace tapeloop::qt
