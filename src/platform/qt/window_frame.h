#pragma once

#include <string>
#include <string_view>

#include <QtCore/QRect>
#include <QtGui/QWindow>

#include "platform/defaults_store.h"

namespace tapeloop::qt {

/// The part of a screen that windows may cover, without panels: of the screen on which most of
/// `frame` lies. Empty if it is on none.
[[nodiscard]] QRect areaAround(const QRect& frame);

/// The frame, moved as little as possible so that it lies within the area. Of a frame that is
/// larger than the area, the upper left corner does.
[[nodiscard]] QRect movedInto(const QRect& area, QRect frame);

/// Shows only a rounded rectangle of a window. With a compositor the content draws the smooth
/// corners on a transparent background. Without one transparent pixels would be black, so the
/// native window is cut to the rectangle. Makes the native window if there is none yet;
/// `cornerRadius` is in device-independent pixels.
void clipToRoundedRectangle(QWindow& window, double cornerRadius);

/// Stores the position of a window under a name, for later runs: when the window closes, and when
/// this object is destroyed while the window is open.
class FrameAutosave final : public QObject {
 public:
  FrameAutosave(DefaultsStore& store, QWindow& window, std::string_view name);
  ~FrameAutosave() override;

  /// Moves the window to the stored position, and then onto the screen if part of it is off. False
  /// if none is stored, or if it is on no screen.
  bool restore();
  void remember();

 protected:
  bool eventFilter(QObject* window, QEvent* event) override;

 private:
  DefaultsStore& store_;
  QWindow& window_;
  const std::string key_;
};

}  // namespace tapeloop::qt
