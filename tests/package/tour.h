#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "window/program.h"

namespace tapeloop::support {

/// The installed program on a desktop, used at the pace of a person. Pictures of the screen go to
/// the folder PICTURES. The process exits after the picture that the environment variable
/// TOUR_ENDS_WITH names.
class Tour : public testing::Test {
 protected:
  /// The pause of a user who looks at what has popped up.
  static constexpr std::chrono::milliseconds moment{1000};

  explicit Tour(const XServerOptions& options = {});
  void TearDown() override;

  /// Takes a picture of the screen, or of an area of it, at once.
  void takePicture(const std::string& name, const ClientWindow& area = {0, 0, 1280, 800});
  /// The same once nothing on the screen changes any more.
  void picture(const std::string& name, const ClientWindow& area = {0, 0, 1280, 800});
  /// Waits until the program's window has the focus and nothing changes any more.
  void awaitStart();
  /// Clicks once nothing on the screen changes any more.
  void click(Application& application, const std::string& button);
  /// Waits until the element has the focus: the window manager delays a click, but not the keys
  /// that follow it.
  void clickIntoFocus(Application& application, const Element& element);
  void type(const std::string& text) const;

  [[nodiscard]] static std::vector<std::string> linesOf(const std::filesystem::path& file);
  /// Waits for the hint "Press Escape to Stop".
  [[nodiscard]] bool saysHowToStop() const;

  TestDesktop desktop;
  const XUser& user = desktop.user();
  TemporaryFolder data;
};

}  // namespace tapeloop::support
