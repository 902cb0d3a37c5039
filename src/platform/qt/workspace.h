#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/desktop_services.h"

namespace tapeloop::qt {

/// Hands pages to the browser that the desktop names. Main thread only.
class Workspace final : public tapeloop::Workspace {
 public:
  /// Where the pages are that ship with the program.
  explicit Workspace(std::string pages) : pages_(std::move(pages)) {}
  bool openURL(std::string_view url) override;

 private:
  const std::string pages_;
};

}  // namespace tapeloop::qt
