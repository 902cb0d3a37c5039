#include "views/information_button_model.h"

#include <utility>

#include "views/forwarding.h"

namespace tapeloop {

InformationButtonModel::InformationButtonModel(InformationButton& button,
                                               std::function<void()> press)
    : button_(button), press_(std::move(press)) {
  forward(subscriptions_, button.infoButtonOpacity, this,
          &InformationButtonModel::buttonOpacityChanged);
  forwardLater(subscriptions_, button.showingAlert, this,
               &InformationButtonModel::showingAlertChanged);
}

}  // namespace tapeloop
