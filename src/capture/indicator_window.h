#pragma once

#include <memory>

#include "platform/window_system.h"

namespace tapeloop {

/// Opens a small window that floats above all others, lets clicks through and shows nothing but
/// `view`. `topLeft` is where its top-left corner goes. Null when the window can't be made.
std::shared_ptr<Window> openIndicatorWindow(WindowSystem& windows, std::shared_ptr<View> view,
                                            Point topLeft);

}  // namespace tapeloop
