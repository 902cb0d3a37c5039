#pragma once

class QWindow;

namespace tapeloop::qt {

/// Lets a window show no more of itself than a rounded rectangle. Where a compositor mixes windows
/// that is up to the content, whose edges are smooth; where none does, the native window is cut to
/// it, since what is transparent would be black. Makes the native window if there is none yet;
/// `cornerRadius` is in the window's own units.
void clipToRoundedRectangle(QWindow& window, double cornerRadius);

}  // namespace tapeloop::qt
