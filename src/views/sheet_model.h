#pragma once

#include <vector>

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QStringListModel>
#include <QtQml/qqmlregistration.h>

#include "controller/sheet_view.h"
#include "views/recorder_model.h"

namespace tapeloop {

/// What the QML of the settings sheet binds to. Main thread only.
class SheetModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("comes with the window")
  Q_PROPERTY(bool shown READ shown NOTIFY shownChanged)
  Q_PROPERTY(bool repeatControlsRespond READ repeatControlsRespond NOTIFY repeatPlaybackChanged)
  Q_PROPERTY(
      bool repeatPlayback READ repeatPlayback WRITE setRepeatPlayback NOTIFY repeatPlaybackChanged)
  Q_PROPERTY(bool waitBeforeRepeating READ waitBeforeRepeating WRITE setWaitBeforeRepeating NOTIFY
                 waitBeforeRepeatingChanged)
  Q_PROPERTY(bool pickersRespond READ pickersRespond NOTIFY pickersRespondChanged)
  Q_PROPERTY(QStringList waitTimes READ waitTimes CONSTANT)
  Q_PROPERTY(int waitTime READ waitTime WRITE setWaitTime NOTIFY waitTimeChanged)
  Q_PROPERTY(QString waitTimeText READ waitTimeText NOTIFY waitTimeChanged)
  Q_PROPERTY(QAbstractItemModel* unitCaptions READ unitCaptions CONSTANT)
  Q_PROPERTY(int waitUnit READ waitUnit WRITE setWaitUnit NOTIFY waitUnitChanged)
  Q_PROPERTY(
      double timesToRepeat READ timesToRepeat WRITE setTimesToRepeat NOTIFY timesToRepeatChanged)
  Q_PROPERTY(double mostTimesToRepeat READ mostTimesToRepeat CONSTANT)
  Q_PROPERTY(QString repeatCaption READ repeatCaption NOTIFY repeatCaptionChanged)
  Q_PROPERTY(
      double playbackSpeed READ playbackSpeed WRITE setPlaybackSpeed NOTIFY playbackSpeedChanged)
  Q_PROPERTY(double lowestSpeed READ lowestSpeed CONSTANT)
  Q_PROPERTY(double highestSpeed READ highestSpeed CONSTANT)
  Q_PROPERTY(QString speedCaption READ speedCaption NOTIFY playbackSpeedChanged)
  Q_PROPERTY(tapeloop::RecorderModel* recordShortcut READ recordShortcut CONSTANT)
  Q_PROPERTY(tapeloop::RecorderModel* playShortcut READ playShortcut CONSTANT)

 public:
  /// `sheet` outlives the model.
  explicit SheetModel(SheetView& sheet);

  [[nodiscard]] bool shown() const { return sheet_.showSheetView().get(); }
  [[nodiscard]] bool repeatPlayback() const { return sheet_.repeatPlayback.get(); }
  void setRepeatPlayback(bool on) { sheet_.repeatPlayback.set(on); }
  [[nodiscard]] bool waitBeforeRepeating() const { return sheet_.waitBeforeRepeating.get(); }
  void setWaitBeforeRepeating(bool on) { sheet_.waitBeforeRepeating.set(on); }
  [[nodiscard]] bool repeatControlsRespond() const { return sheet_.repeatControlsRespond(); }
  [[nodiscard]] bool pickersRespond() const { return sheet_.pickersRespond(); }
  /// What there is to pick from.
  [[nodiscard]] static QStringList waitTimes();
  /// An index into the times; -1 for a time that is none of them.
  [[nodiscard]] int waitTime() const;
  void setWaitTime(int time) { sheet_.waittimenumber.set(time + 1); }
  [[nodiscard]] QString waitTimeText() const;
  /// Its rows stay when their captions change, and with them what is picked.
  [[nodiscard]] QAbstractItemModel* unitCaptions() { return &unitCaptions_; }
  /// An index into the captions; -1 for a unit that is none of them.
  [[nodiscard]] int waitUnit() const;
  void setWaitUnit(int unit);
  /// As its slider has it, and so is the speed.
  [[nodiscard]] double timesToRepeat() const { return sheet_.timesToRepeatOnSlider(); }
  void setTimesToRepeat(double times) { sheet_.slideTimesToRepeat(times); }
  [[nodiscard]] double mostTimesToRepeat() const { return SheetView::mostTimesToRepeat; }
  [[nodiscard]] QString repeatCaption() const;
  [[nodiscard]] double playbackSpeed() const { return sheet_.playbackSpeedOnSlider(); }
  void setPlaybackSpeed(double speed) { sheet_.slidePlaybackSpeed(speed); }
  [[nodiscard]] double lowestSpeed() const { return SheetView::lowestSpeed; }
  [[nodiscard]] double highestSpeed() const { return SheetView::highestSpeed; }
  [[nodiscard]] QString speedCaption() const;
  [[nodiscard]] RecorderModel* recordShortcut() { return &recordShortcut_; }
  [[nodiscard]] RecorderModel* playShortcut() { return &playShortcut_; }

  Q_INVOKABLE void appear() { sheet_.onAppear(); }
  Q_INVOKABLE void saveButtonPressed() { sheet_.saveButtonPressed(); }

 Q_SIGNALS:
  void shownChanged();
  void repeatPlaybackChanged();
  void waitBeforeRepeatingChanged();
  void waitTimeChanged();
  void waitUnitChanged();
  void pickersRespondChanged();
  void timesToRepeatChanged();
  void repeatCaptionChanged();
  void playbackSpeedChanged();

 private:
  void showUnitCaptions();

  SheetView& sheet_;
  QStringListModel unitCaptions_;
  RecorderModel recordShortcut_;
  RecorderModel playShortcut_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace tapeloop
