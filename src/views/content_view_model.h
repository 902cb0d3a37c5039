#pragma once

#include <functional>
#include <utility>

#include <QtCore/QObject>
#include <QtQml/qqmlregistration.h>

#include "controller/content_view.h"
#include "views/library_model.h"
#include "views/menu_model.h"
#include "views/sheet_model.h"
#include "views/values.h"

namespace tapeloop {

/// A button that becomes paler under the pointer.
class ButtonModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("belongs to a model")
  Q_PROPERTY(tapeloop::NumberValue* buttonOpacity MEMBER buttonOpacity CONSTANT)

 public:
  /// `press` is what a press of the button does.
  ButtonModel(QObject* parent, HoverOpacity& opacity, std::function<void()> press)
      : QObject(parent),
        buttonOpacity(new NumberValue(this, opacity)),
        opacity_(opacity),
        press_(std::move(press)) {}

  NumberValue* const buttonOpacity;

  Q_INVOKABLE void press() { press_(); }
  Q_INVOKABLE void hover(bool hovering) { opacity_.hover(hovering); }

 private:
  HoverOpacity& opacity_;
  const std::function<void()> press_;
};

/// The information button and its alert.
class InformationButtonModel final : public tapeloop::ButtonModel {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("belongs to a window")
  Q_PROPERTY(tapeloop::BoolValue* showingAlert MEMBER showingAlert CONSTANT)

 public:
  InformationButtonModel(QObject* parent, InformationButton& button, std::function<void()> press)
      : ButtonModel(parent, button.infoButtonOpacity, std::move(press)),
        showingAlert(new BoolValue(this, button.showingAlert, Value::Notice::later)),
        button_(button) {}

  BoolValue* const showingAlert;

  Q_INVOKABLE void dismissAlert() { button_.dismissAlert(); }
  Q_INVOKABLE void openPrivacyPolicy() { button_.openPrivacyPolicy(); }

 private:
  InformationButton& button_;
};

/// The main window: its values, its actions, and the models of its parts.
class ContentViewModel final : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("belongs to the window")
  Q_PROPERTY(tapeloop::InformationButtonModel* information MEMBER information CONSTANT)
  Q_PROPERTY(tapeloop::ButtonModel* settingsButton MEMBER settingsButton CONSTANT)
  Q_PROPERTY(tapeloop::ButtonModel* saveButton MEMBER saveButton CONSTANT)
  Q_PROPERTY(tapeloop::ButtonModel* listButton MEMBER listButton CONSTANT)
  Q_PROPERTY(tapeloop::LibraryModel* library MEMBER library CONSTANT)
  Q_PROPERTY(tapeloop::MenuModel* menu MEMBER menu CONSTANT)
  Q_PROPERTY(tapeloop::SheetModel* sheet MEMBER sheet CONSTANT)
  Q_PROPERTY(tapeloop::TextValue* recordCaption MEMBER recordCaption CONSTANT)
  Q_PROPERTY(tapeloop::BoolValue* recordCaptionIsCallout MEMBER recordCaptionIsCallout CONSTANT)
  Q_PROPERTY(tapeloop::ColorValue* unpressedColor MEMBER unpressedColor CONSTANT)
  Q_PROPERTY(tapeloop::NumberValue* startStopOpacity MEMBER startStopOpacity CONSTANT)
  Q_PROPERTY(tapeloop::BoolValue* buttonDisabled MEMBER buttonDisabled CONSTANT)
  Q_PROPERTY(tapeloop::BoolValue* showingAuthAlert MEMBER showingAuthAlert CONSTANT)
  Q_PROPERTY(tapeloop::BoolValue* showingPlayAlert MEMBER showingPlayAlert CONSTANT)

  ContentView& view_;
  CaptureState& capture_ = view_.captureState();
  Toolbar& toolbar_ = view_.toolbar();

 public:
  ContentViewModel(ContentView& view, SheetView& sheetView, const Menu& mainMenu)
      : view_(view), menu(new MenuModel(this, mainMenu)), sheet(new SheetModel(this, sheetView)) {}

  InformationButtonModel* const information = new InformationButtonModel(
      this, view_.informationButton(), [this] { view_.informationButtonPressed(); });
  ButtonModel* const settingsButton = new ButtonModel(this, toolbar_.settingsButtonOpacity,
                                                      [this] { view_.settingsButtonPressed(); });
  ButtonModel* const saveButton =
      new ButtonModel(this, toolbar_.saveButtonOpacity, [this] { view_.saveButtonPressed(); });
  ButtonModel* const listButton =
      new ButtonModel(this, toolbar_.listButtonOpacity, [this] { view_.listButtonPressed(); });
  LibraryModel* const library = new LibraryModel(this, view_);
  MenuModel* const menu;
  SheetModel* const sheet;
  TextValue* const recordCaption = new TextValue(this, view_.settings().startStopButtonText);
  BoolValue* const recordCaptionIsCallout = new BoolValue(
      this, [this] { return capture_.startStopButtonSize.get() == FontStyle::callout; }, {},
      capture_.startStopButtonSize);
  ColorValue* const unpressedColor =
      new ColorValue(this, capture_.buttonProperties->unpressedColor);
  NumberValue* const startStopOpacity =
      new NumberValue(this, capture_.buttonProperties->startStopOpacity);
  BoolValue* const buttonDisabled = new BoolValue(this, capture_.buttonDisabled);
  BoolValue* const showingAuthAlert =
      new BoolValue(this, capture_.showingAuthAlert, Value::Notice::later);
  BoolValue* const showingPlayAlert =
      new BoolValue(this, view_.playbackState().showingPlayAlert, Value::Notice::later);

  Q_INVOKABLE void recordButtonPressed() { view_.recordButtonPressed(); }
  Q_INVOKABLE void playButtonPressed() { view_.playButtonPressed(); }
  Q_INVOKABLE void dismissAuthAlert() { view_.dismissAuthAlert(); }
  Q_INVOKABLE void dismissPlayAlert() { view_.dismissPlayAlert(); }
};

}  // namespace tapeloop
