#pragma once

#include <memory>
#include <optional>

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>

#include "platform/qt/view_registry.h"
#include "platform/window_system.h"

namespace tapeloop::qt {

/// A window whose properties may be set in any order, before and after it was asked to come to the
/// front: they are collected, and the native window is made once, from all of them, when Qt's loop
/// gets its turn. The content is made at once, since that is the larger part of the work and is
/// better done before the caller starts its timers. Main thread only.
class Window final : public tapeloop::Window {
 public:
  /// `views` outlives the window.
  Window(const ViewRegistry& views, Rect contentRect, StyleMask mask);
  ~Window() override;

  void makeKeyAndOrderFront() override;
  void setMovableByWindowBackground(bool movable) override;
  void setLevel(WindowLevel level) override;
  void setBackgroundColor(Color color) override;
  [[nodiscard]] StyleMask styleMask() const override { return mask_; }
  void setStyleMask(StyleMask mask) override;
  /// Every window is buffered.
  void setBackingType(BackingType) override {}
  /// A window lives as long as it is held, shown or not.
  void setReleasedWhenClosed(bool) override {}
  void setIgnoresMouseEvents(bool ignores) override;
  void setContentView(HostingView content) override;
  void setFrameTopLeftPoint(Point point) override;
  void close() override;

 private:
  class Frame;

  void changed();
  void realize();
  void fitContent();
  void place();
  [[nodiscard]] Qt::WindowFlags flags() const;

  const ViewRegistry& views_;
  Frame* const frame_;  // deleted later: it may be on the stack
  StyleMask mask_;
  WindowLevel level_ = WindowLevel::normal;
  bool movable_ = false;
  bool ignoresMouseEvents_ = false;
  bool wanted_ = false;  // asked to the front and not closed since
  bool queued_ = false;  // a call of `realize` is under way
  std::optional<Point> topLeft_;
  HostingView content_;
  std::unique_ptr<QQuickItem> item_;
};

}  // namespace tapeloop::qt
