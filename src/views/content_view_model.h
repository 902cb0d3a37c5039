#pragma once

#include <vector>

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtGui/QColor>
#include <QtQml/qqmlregistration.h>

#include "controller/content_view.h"
#include "views/information_button_model.h"
#include "views/library_model.h"
#include "views/menu_model.h"
#include "views/sheet_model.h"
#include "views/toolbar_model.h"

namespace tapeloop {

/// What the main window's QML binds to: the controller's state as properties, its actions as
/// calls. Main thread only.
class ContentViewModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("comes with the window")
  Q_PROPERTY(tapeloop::InformationButtonModel* information READ information CONSTANT)
  Q_PROPERTY(tapeloop::ToolbarModel* toolbar READ toolbar CONSTANT)
  Q_PROPERTY(tapeloop::LibraryModel* library READ library CONSTANT)
  Q_PROPERTY(tapeloop::MenuModel* menu READ menu CONSTANT)
  Q_PROPERTY(tapeloop::SheetModel* sheet READ sheet CONSTANT)
  Q_PROPERTY(QString recordCaption READ recordCaption NOTIFY recordCaptionChanged)
  Q_PROPERTY(
      bool recordCaptionIsCallout READ recordCaptionIsCallout NOTIFY recordCaptionIsCalloutChanged)
  Q_PROPERTY(QColor unpressedColor READ unpressedColor NOTIFY unpressedColorChanged)
  Q_PROPERTY(double startStopOpacity READ startStopOpacity NOTIFY startStopOpacityChanged)
  Q_PROPERTY(bool buttonDisabled READ buttonDisabled NOTIFY buttonDisabledChanged)
  Q_PROPERTY(bool showingAuthAlert READ showingAuthAlert NOTIFY showingAuthAlertChanged)
  Q_PROPERTY(bool showingPlayAlert READ showingPlayAlert NOTIFY showingPlayAlertChanged)

 public:
  /// `view` and `sheet` outlive the model.
  ContentViewModel(ContentView& view, SheetView& sheet, const Menu& mainMenu);

  [[nodiscard]] InformationButtonModel* information() { return &information_; }
  [[nodiscard]] ToolbarModel* toolbar() { return &toolbar_; }
  [[nodiscard]] LibraryModel* library() { return &library_; }
  [[nodiscard]] MenuModel* menu() { return &menu_; }
  [[nodiscard]] SheetModel* sheet() { return &sheet_; }
  [[nodiscard]] QString recordCaption() const;
  [[nodiscard]] bool recordCaptionIsCallout() const;
  [[nodiscard]] QColor unpressedColor() const;
  [[nodiscard]] double startStopOpacity() const;
  [[nodiscard]] bool buttonDisabled() const;
  [[nodiscard]] bool showingAuthAlert() const;
  [[nodiscard]] bool showingPlayAlert() const;

  Q_INVOKABLE void recordButtonPressed() { view_.recordButtonPressed(); }
  Q_INVOKABLE void playButtonPressed() { view_.playButtonPressed(); }
  Q_INVOKABLE void dismissAuthAlert() { view_.dismissAuthAlert(); }
  Q_INVOKABLE void dismissPlayAlert() { view_.dismissPlayAlert(); }

 Q_SIGNALS:
  void recordCaptionChanged();
  void recordCaptionIsCalloutChanged();
  void unpressedColorChanged();
  void startStopOpacityChanged();
  void buttonDisabledChanged();
  void showingAuthAlertChanged();
  void showingPlayAlertChanged();

 private:
  ContentView& view_;
  InformationButtonModel information_;
  ToolbarModel toolbar_;
  LibraryModel library_;
  MenuModel menu_;
  SheetModel sheet_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tapeloop
