#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "window/program.h"

namespace tapeloop::support {

/// The installed program on a desktop, used by somebody who takes their time, with pictures of the
/// screen in the folder PICTURES. The process ends with the picture that the variable
/// TOUR_ENDS_WITH names.
class Tour : public testing::Test {
 protected:
  /// How long a user looks at what has popped up.
  static constexpr std::chrono::milliseconds moment{1000};

  explicit Tour(const XServerOptions& options = {});
  void TearDown() override;

  /// Of the screen as it is, or of an area of it.
  void takePicture(const std::string& name, const ClientWindow& area = {0, 0, 1280, 800});
  /// Once nothing moves any more.
  void picture(const std::string& name, const ClientWindow& area = {0, 0, 1280, 800});
  /// Waits until the program's window is there and nothing moves any more.
  void awaitStart();
  /// Once nothing moves any more.
  void click(Application& application, const std::string& button);
  /// And waits until the keyboard acts there: the window manager holds a click back for a little
  /// while, but not the keys that follow it.
  void clickIntoFocus(Application& application, const Element& element);
  void type(const std::string& text) const;

  [[nodiscard]] static std::vector<std::string> linesOf(const std::filesystem::path& file);
  /// The hint at the top of the screen.
  [[nodiscard]] bool saysHowToStop() const;

  TestDesktop desktop;
  const XUser& user = desktop.user();
  TemporaryFolder data;
};

}  // namespace tapeloop::support
