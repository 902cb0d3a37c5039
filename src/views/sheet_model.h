#pragma once

#include <vector>

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QStringListModel>
#include <QtQml/QQmlListProperty>
#include <QtQml/qqmlregistration.h>
#include <QtQuick/QQuickItem>

#include "controller/sheet_view.h"
#include "controller/shortcut_slots.h"
#include "views/values.h"

namespace tapeloop {

/// The box of one shortcut slot: its caption and colours, the recorder field, and the alert of a
/// combination that was refused.
class RecorderModel final : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("belongs to the settings sheet")
  Q_PROPERTY(QString caption MEMBER caption CONSTANT)
  Q_PROPERTY(QColor tint MEMBER tint CONSTANT)
  Q_PROPERTY(QColor tintOnDark MEMBER tintOnDark CONSTANT)
  Q_PROPERTY(double minimumWidth MEMBER minimumWidth CONSTANT)
  Q_PROPERTY(tapeloop::TextValue* text MEMBER text CONSTANT)
  Q_PROPERTY(tapeloop::TextValue* placeholder MEMBER placeholder CONSTANT)
  Q_PROPERTY(tapeloop::BoolValue* showsCancelButton MEMBER showsCancelButton CONSTANT)
  Q_PROPERTY(tapeloop::BoolValue* showingAlert MEMBER showingAlert CONSTANT)
  /// They keep the latest texts, so that the window does not change while it closes.
  Q_PROPERTY(tapeloop::TextValue* alertTitle MEMBER alertTitle CONSTANT)
  Q_PROPERTY(tapeloop::TextValue* alertText MEMBER alertText CONSTANT)

  RecorderCocoa& recorder_;
  RecorderAlert latestAlert_;
  Subscription alertChanged_;
  Subscription focusRequested_;

 public:
  RecorderModel(QObject* parent, const ShortcutSlot& slot, RecorderCocoa& recorder);

  const QString caption;
  const QColor tint;
  const QColor tintOnDark;
  const double minimumWidth = RecorderCocoa::minimumWidth;
  TextValue* const text = new TextValue(this, recorder_.stringValue);
  TextValue* const placeholder = new TextValue(this, recorder_.placeholderString);
  BoolValue* const showsCancelButton = new BoolValue(this, recorder_.showsCancelButton);
  BoolValue* const showingAlert;
  TextValue* const alertTitle = new TextValue(
      this, [this] { return QString::fromStdString(latestAlert_.title); }, {}, recorder_.alert);
  TextValue* const alertText = new TextValue(
      this, [this] { return QString::fromStdString(latestAlert_.informativeText); }, {},
      recorder_.alert);

  /// The item that draws the field.
  Q_INVOKABLE void setField(QQuickItem* field);
  Q_INVOKABLE void becomeFirstResponder() { recorder_.becomeFirstResponder(); }
  Q_INVOKABLE void resignFirstResponder() { recorder_.resignFirstResponder(); }
  Q_INVOKABLE void cancelButtonPressed() { recorder_.cancelButtonPressed(); }
  Q_INVOKABLE void dismissAlert() { recorder_.dismissAlert(); }

 Q_SIGNALS:
  void focusRequested(bool wanted);
};

/// The settings sheet.
class SheetModel final : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("belongs to the window")
  Q_PROPERTY(tapeloop::BoolValue* shown MEMBER shown CONSTANT)
  Q_PROPERTY(tapeloop::BoolValue* repeatPlayback MEMBER repeatPlayback CONSTANT)
  Q_PROPERTY(tapeloop::BoolValue* waitBeforeRepeating MEMBER waitBeforeRepeating CONSTANT)
  Q_PROPERTY(tapeloop::BoolValue* repeatControlsRespond MEMBER repeatControlsRespond CONSTANT)
  Q_PROPERTY(tapeloop::BoolValue* pickersRespond MEMBER pickersRespond CONSTANT)
  Q_PROPERTY(QStringList waitTimes MEMBER waitTimes CONSTANT)
  /// An index into the times; -1 for a time that is none of them.
  Q_PROPERTY(tapeloop::IntegerValue* waitTime MEMBER waitTime CONSTANT)
  Q_PROPERTY(tapeloop::TextValue* waitTimeText MEMBER waitTimeText CONSTANT)
  Q_PROPERTY(QAbstractItemModel* unitCaptions READ unitCaptions CONSTANT)
  /// An index into the captions; -1 for a unit that is none of them.
  Q_PROPERTY(tapeloop::IntegerValue* waitUnit MEMBER waitUnit CONSTANT)
  // Positions of sliders.
  Q_PROPERTY(tapeloop::NumberValue* timesToRepeat MEMBER timesToRepeat CONSTANT)
  Q_PROPERTY(double mostTimesToRepeat MEMBER mostTimesToRepeat CONSTANT)
  Q_PROPERTY(tapeloop::NumberValue* playbackSpeed MEMBER playbackSpeed CONSTANT)
  Q_PROPERTY(double lowestSpeed MEMBER lowestSpeed CONSTANT)
  Q_PROPERTY(double highestSpeed MEMBER highestSpeed CONSTANT)
  Q_PROPERTY(tapeloop::TextValue* repeatCaption MEMBER repeatCaption CONSTANT)
  Q_PROPERTY(tapeloop::TextValue* speedCaption MEMBER speedCaption CONSTANT)
  Q_PROPERTY(QQmlListProperty<tapeloop::RecorderModel> recorders READ recorders CONSTANT)
  /// One of the recorder fields has the keyboard.
  Q_PROPERTY(tapeloop::BoolValue* isRecordingShortcut MEMBER isRecordingShortcut CONSTANT)

  SheetView& sheet_;
  Settings& settings_ = sheet_.settings;

 public:
  SheetModel(QObject* parent, SheetView& sheet);

  BoolValue* const shown = new BoolValue(this, sheet_.showSheetView);
  BoolValue* const repeatPlayback = new BoolValue(this, settings_.repeatPlayback);
  BoolValue* const waitBeforeRepeating = new BoolValue(this, settings_.waitBeforeRepeating);
  BoolValue* const repeatControlsRespond = new BoolValue(
      this, [this] { return sheet_.repeatControlsRespond(); }, {}, settings_.repeatPlayback);
  BoolValue* const pickersRespond = new BoolValue(
      this, [this] { return sheet_.pickersRespond(); }, {}, settings_.repeatPlayback,
      settings_.waitBeforeRepeating);
  const QStringList waitTimes;
  IntegerValue* const waitTime;
  TextValue* const waitTimeText = new TextValue(
      this, [this] { return QString::number(settings_.waittimenumber.get()); }, {},
      settings_.waittimenumber);
  IntegerValue* const waitUnit;
  NumberValue* const timesToRepeat = new NumberValue(
      this, [this] { return sheet_.timesToRepeatOnSlider(); },
      [this](const QVariant& to) { sheet_.slideTimesToRepeat(to.toDouble()); },
      settings_.timesToRepeat);
  const double mostTimesToRepeat = SheetView::mostTimesToRepeat;
  NumberValue* const playbackSpeed = new NumberValue(
      this, [this] { return sheet_.playbackSpeedOnSlider(); },
      [this](const QVariant& to) { sheet_.slidePlaybackSpeed(to.toDouble()); },
      settings_.playbackSpeed);
  const double lowestSpeed = SheetView::lowestSpeed;
  const double highestSpeed = SheetView::highestSpeed;
  TextValue* const repeatCaption = new TextValue(
      this, [this] { return QString::fromStdString(sheet_.repeatCaption()); }, {},
      sheet_.repeatTimeLabel, sheet_.timeOrTimes);
  TextValue* const speedCaption = new TextValue(
      this, [this] { return QString::fromStdString(sheet_.speedCaption()); }, {},
      settings_.playbackSpeed);
  BoolValue* const isRecordingShortcut;

  [[nodiscard]] QAbstractItemModel* unitCaptions() { return &unitCaptions_; }
  [[nodiscard]] QQmlListProperty<RecorderModel> recorders() { return {this, &recorders_}; }

  Q_INVOKABLE void appear() { sheet_.onAppear(); }
  Q_INVOKABLE void saveButtonPressed() { sheet_.saveButtonPressed(); }

 private:
  void showUnitCaptions();

  // A model rather than a list of texts: the picker loses its current index when a list is
  // replaced.
  QStringListModel unitCaptions_;
  QList<RecorderModel*> recorders_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tapeloop
