#pragma once

#include <memory>
#include <string>

#include <QtQml/QQmlEngine>
#include <QtQuick/QQuickWindow>

#include "controller/content_view.h"
#include "platform/desktop_services.h"
#include "platform/qt/window_frame.h"
#include "platform/qt/window_system.h"
#include "views/content_view_model.h"

namespace tapeloop {

/// Registers how the other windows of the program draw their views. `missingPermission` tells the
/// user what to do about a missing permission.
void registerViews(qt::ViewRegistry& registry, QQmlEngine& engine,
                   const std::string& missingPermission);

/// The window that shows a `ContentView`. Closing it ends the program, unless another one is open.
class MainWindow {
 public:
  /// The window is on screen when this returns. `frames` keeps where the window was left.
  MainWindow(QQmlEngine& engine, ContentView& view, SheetView& sheet, const Menu& mainMenu,
             DefaultsStore& frames);

  /// False when the window could not be made.
  [[nodiscard]] bool isShown() const { return window_ != nullptr; }
  /// Why it could not be made, in one line.
  [[nodiscard]] const std::string& error() const { return error_; }
  /// Only while `isShown`.
  [[nodiscard]] QQuickWindow& window() const { return *window_; }

  /// Also when it is minimised.
  void bringToFront();

 private:
  ContentViewModel model_;
  std::string error_;
  std::unique_ptr<QQuickWindow> window_;
  std::unique_ptr<qt::FrameAutosave> frame_;
};

}  // namespace tapeloop
