#include "views/window_fit.h"

#include <QtCore/QRect>
#include <QtGui/QScreen>

#include "platform/qt/window_frame.h"

namespace tapeloop {

void WindowFit::setWindow(QQuickWindow* window) {
  if (window_ == window) return;
  if (window_) disconnect(window_, nullptr, this, nullptr);
  window_ = window;
  if (window_) connect(window_, &QWindow::screenChanged, this, &WindowFit::followScreen);
  followScreen();
  Q_EMIT windowChanged();
}

void WindowFit::followScreen() {
  disconnect(areaOfScreen_);
  if (const QScreen* screen = window_ ? window_->screen() : nullptr) {
    areaOfScreen_ = connect(screen, &QScreen::availableGeometryChanged, this, &WindowFit::fit);
  }
  fit();
}

void WindowFit::setWantedSize(QSizeF size) {
  if (wantedSize_ == size) return;
  wantedSize_ = size;
  fit();
  Q_EMIT wantedSizeChanged();
}

void WindowFit::fit() {
  const QScreen* screen = window_ ? window_->screen() : nullptr;
  if (!screen || wantedSize_.isEmpty()) return;
  const QSize size = wantedSize_.toSize().boundedTo(screen->availableGeometry().size());
  // Some Qt releases resize the window when the limits are set, so its place is taken before.
  const QRect before = window_->geometry();
  // Both limits at once: the window manager enforces those that it knows.
  window_->setMinimumSize(size);
  window_->setMaximumSize(size);
  const QRect area = qt::areaAround(before);
  const bool grows = size.width() > before.width() || size.height() > before.height();
  if (!window_->isVisible() || !grows || area.isEmpty()) {
    window_->resize(size);
  } else {
    // The part that the sidebar or the sheet adds must not lie beyond the edge of the screen.
    window_->setGeometry(qt::movedInto(area, {before.topLeft(), size}));
  }
}

}  // namespace tapeloop
