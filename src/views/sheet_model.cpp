#include "views/sheet_model.h"

#include <algorithm>
#include <array>

#include "views/forwarding.h"

namespace tapeloop {
namespace {

// As they are stored, in the order of the captions.
constexpr std::array<const char*, 3> units{"seconds", "minutes", "hours"};

}  // namespace

SheetModel::SheetModel(SheetView& sheet)
    : sheet_(sheet), recordShortcut_(sheet.recordShortcut()), playShortcut_(sheet.playShortcut()) {
  const auto pass = [this](auto& value, void (SheetModel::*changed)()) {
    forward(subscriptions_, value, this, changed);
  };
  pass(sheet.showSheetView(), &SheetModel::shownChanged);
  pass(sheet.repeatPlayback, &SheetModel::repeatPlaybackChanged);
  pass(sheet.waitBeforeRepeating, &SheetModel::waitBeforeRepeatingChanged);
  pass(sheet.waittimenumber, &SheetModel::waitTimeChanged);
  pass(sheet.waittimeunit, &SheetModel::waitUnitChanged);
  for (auto* toggle : {&sheet.repeatPlayback, &sheet.waitBeforeRepeating}) {
    pass(*toggle, &SheetModel::pickersRespondChanged);
  }
  unitCaptions_.insertRows(0, static_cast<int>(units.size()));
  for (auto* label : {&sheet.secondsLabel, &sheet.minutesLabel, &sheet.hoursLabel}) {
    subscriptions_.push_back(label->subscribe([this] { showUnitCaptions(); }));
  }
  showUnitCaptions();
  pass(sheet.timesToRepeat, &SheetModel::timesToRepeatChanged);
  pass(sheet.repeatTimeLabel, &SheetModel::repeatCaptionChanged);
  pass(sheet.timeOrTimes, &SheetModel::repeatCaptionChanged);
  pass(sheet.playbackSpeed, &SheetModel::playbackSpeedChanged);
}

QStringList SheetModel::waitTimes() {
  QStringList times;
  for (std::int64_t time = 1; time <= SheetView::longestWait; ++time) {
    times.append(QString::number(time));
  }
  return times;
}

int SheetModel::waitTime() const {
  const std::int64_t time = sheet_.waittimenumber.get();
  return time >= 1 && time <= SheetView::longestWait ? static_cast<int>(time) - 1 : -1;
}

QString SheetModel::waitTimeText() const {
  return QString::number(sheet_.waittimenumber.get());
}

int SheetModel::waitUnit() const {
  const auto* found = std::find(units.begin(), units.end(), sheet_.waittimeunit.get());
  return found != units.end() ? static_cast<int>(found - units.begin()) : -1;
}

void SheetModel::setWaitUnit(int unit) {
  if (unit < 0 || static_cast<std::size_t>(unit) >= units.size()) return;
  sheet_.waittimeunit.set(units[static_cast<std::size_t>(unit)]);
}

void SheetModel::showUnitCaptions() {
  int row = 0;
  for (auto* label : {&sheet_.secondsLabel, &sheet_.minutesLabel, &sheet_.hoursLabel}) {
    unitCaptions_.setData(unitCaptions_.index(row++), QString::fromStdString(label->get()));
  }
}

QString SheetModel::repeatCaption() const {
  return QString::fromStdString(sheet_.repeatCaption());
}

QString SheetModel::speedCaption() const {
  return QString::fromStdString(sheet_.speedCaption());
}

}  // namespace tapeloop
