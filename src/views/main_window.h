#pragma once

#include <memory>
#include <string>

#include <QtQml/QQmlEngine>
#include <QtQuick/QQuickWindow>

#include "controller/content_view.h"
#include "platform/desktop_services.h"
#include "platform/qt/window_frame.h"
#include "views/content_view_model.h"

namespace tapeloop {

/// The window that shows a `ContentView`. Closing it ends the program, unless another one is open.
/// Main thread only.
class MainWindow {
 public:
  /// On screen when this returns. `engine`, `view` and `frames`, which keeps where the window was
  /// left, outlive the window.
  MainWindow(QQmlEngine& engine, ContentView& view, SheetView& sheet, const Menu& mainMenu,
             DefaultsStore& frames);
  /// False when the window could not be made.
  [[nodiscard]] bool isShown() const { return window_ != nullptr; }
  /// Why it could not be made, in one line.
  [[nodiscard]] const std::string& error() const { return error_; }
  /// There is one when it is shown.
  [[nodiscard]] QQuickWindow& window() const { return *window_; }
  /// Also from the state of being minimised.
  void bringToFront();

 private:
  ContentViewModel model_;
  std::string error_;
  std::unique_ptr<QQuickWindow> window_;
  std::unique_ptr<qt::FrameAutosave> frame_;
};

}  // namespace tapeloop
