#include "views/toolbar_model.h"

#include "views/forwarding.h"

namespace tapeloop {

ToolbarModel::ToolbarModel(ContentView& view) : view_(view), bar_(view.toolbar()) {
  forward(subscriptions_, bar_.settingsButtonOpacity, this, &ToolbarModel::settingsOpacityChanged);
  forward(subscriptions_, bar_.saveButtonOpacity, this, &ToolbarModel::saveOpacityChanged);
  forward(subscriptions_, bar_.listButtonOpacity, this, &ToolbarModel::listOpacityChanged);
}

}  // namespace tapeloop
