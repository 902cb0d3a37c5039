#include <QtGui/QGuiApplication>
#include <gtest/gtest.h>

#include "platform/memory_defaults_store.h"
#include "platform/qt/window.h"

namespace tapeloop::qt {
namespace {

TEST(QtWindowTest, AClosedWindowIsShownAgainOnlyOnRequest) {
  int argumentCount = 3;
  char name[] = "qt_tests";
  char option[] = "-platform";
  char platform[] = "offscreen";
  char* arguments[] = {name, option, platform, nullptr};
  const QGuiApplication application(argumentCount, arguments);
  const ViewRegistry views;
  MemoryDefaultsStore frames;
  Window window(views, frames, {{0, 0}, {200, 100}}, style_mask::titled | style_mask::closable);
  const auto isOnScreen = [] {
    QCoreApplication::processEvents();
    return QGuiApplication::topLevelWindows().front()->isVisible();
  };
  window.makeKeyAndOrderFront();
  ASSERT_TRUE(isOnScreen());
  ASSERT_TRUE(QGuiApplication::topLevelWindows().front()->close());
  window.setLevel(WindowLevel::floating);
  window.setMovableByWindowBackground(true);
  EXPECT_FALSE(isOnScreen());
  window.makeKeyAndOrderFront();
  EXPECT_TRUE(isOnScreen());
}

}  // namespace
}  // namespace tapeloop::qt
