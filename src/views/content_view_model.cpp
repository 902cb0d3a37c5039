#include "views/content_view_model.h"

#include <string>

#include "views/conversions.h"
#include "views/forwarding.h"

namespace tapeloop {

ContentViewModel::ContentViewModel(ContentView& view, SheetView& sheet, const Menu& mainMenu)
    : view_(view),
      information_(view.informationButton(), [&view] { view.informationButtonPressed(); }),
      toolbar_(view),
      library_(view),
      menu_(mainMenu),
      sheet_(sheet) {
  const auto pass = [this](auto& value, void (ContentViewModel::*changed)()) {
    forward(subscriptions_, value, this, changed);
  };
  CaptureState& capture = view.captureState();
  pass(view.settings().startStopButtonText, &ContentViewModel::recordCaptionChanged);
  pass(capture.startStopButtonSize, &ContentViewModel::recordCaptionIsCalloutChanged);
  pass(capture.buttonProperties->unpressedColor, &ContentViewModel::unpressedColorChanged);
  pass(capture.buttonProperties->startStopOpacity, &ContentViewModel::startStopOpacityChanged);
  pass(capture.buttonDisabled, &ContentViewModel::buttonDisabledChanged);
  forwardLater(subscriptions_, capture.showingAuthAlert, this,
               &ContentViewModel::showingAuthAlertChanged);
  forwardLater(subscriptions_, view.playbackState().showingPlayAlert, this,
               &ContentViewModel::showingPlayAlertChanged);
}

QString ContentViewModel::recordCaption() const {
  return QString::fromStdString(view_.settings().startStopButtonText.get());
}

bool ContentViewModel::recordCaptionIsCallout() const {
  return view_.captureState().startStopButtonSize.get() == FontStyle::callout;
}

QColor ContentViewModel::unpressedColor() const {
  return toQt(view_.captureState().buttonProperties->unpressedColor.get());
}

double ContentViewModel::startStopOpacity() const {
  return view_.captureState().buttonProperties->startStopOpacity.get();
}

bool ContentViewModel::buttonDisabled() const {
  return view_.captureState().buttonDisabled.get();
}

bool ContentViewModel::showingAuthAlert() const {
  return view_.captureState().showingAuthAlert.get();
}

bool ContentViewModel::showingPlayAlert() const {
  return view_.playbackState().showingPlayAlert.get();
}

}  // namespace tapeloop
