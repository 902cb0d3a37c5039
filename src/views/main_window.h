#pragma once

#include <memory>

#include <QtQml/QQmlEngine>
#include <QtQuick/QQuickWindow>

#include "controller/content_view.h"
#include "views/content_view_model.h"

namespace tapeloop {

/// The window that shows a `ContentView`. Closing it ends the program. Main thread only.
class MainWindow {
 public:
  /// On screen when this returns. What is handed in outlives the window.
  MainWindow(QQmlEngine& engine, ContentView& view);
  /// False when the window could not be made; why was written to standard error.
  [[nodiscard]] bool isShown() const { return window_ != nullptr; }

 private:
  ContentViewModel model_;
  std::unique_ptr<QQuickWindow> window_;
};

}  // namespace tapeloop
