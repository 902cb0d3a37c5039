#include "views/content_view_model.h"

#include <string>

namespace tapeloop {
namespace {

QColor toQt(Color color) {
  return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                          static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

}  // namespace

ContentViewModel::ContentViewModel(ContentView& view) : view_(view) {
  const auto pass = [this](auto& value, void (ContentViewModel::*changed)()) {
    subscriptions_.push_back(value.subscribe([this, changed] { Q_EMIT(this->*changed)(); }));
  };
  CaptureState& capture = view.captureState();
  pass(view.settings().startStopButtonText, &ContentViewModel::recordCaptionChanged);
  pass(capture.startStopButtonSize, &ContentViewModel::recordCaptionIsCalloutChanged);
  pass(capture.buttonProperties->unpressedColor, &ContentViewModel::unpressedColorChanged);
  pass(capture.buttonProperties->startStopOpacity, &ContentViewModel::startStopOpacityChanged);
  pass(capture.buttonDisabled, &ContentViewModel::buttonDisabledChanged);
  // A modal window that opens while the release of a button is still being handled takes the next
  // click from that button.
  const auto passLater = [this](auto& value, void (ContentViewModel::*changed)()) {
    subscriptions_.push_back(value.subscribe(
        [this, changed] { QMetaObject::invokeMethod(this, changed, Qt::QueuedConnection); }));
  };
  passLater(capture.showingAuthAlert, &ContentViewModel::showingAuthAlertChanged);
  passLater(view.playbackState().showingPlayAlert, &ContentViewModel::showingPlayAlertChanged);
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
