#include "views/sheet_model.h"

#include <algorithm>
#include <array>
#include <limits>

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
  for (auto* label : {&sheet.secondsLabel, &sheet.minutesLabel, &sheet.hoursLabel}) {
    pass(*label, &SheetModel::unitCaptionsChanged);
  }
  pass(sheet.timesToRepeat, &SheetModel::timesToRepeatChanged);
  pass(sheet.repeatTimeLabel, &SheetModel::repeatCaptionChanged);
  pass(sheet.timeOrTimes, &SheetModel::repeatCaptionChanged);
  pass(sheet.playbackSpeed, &SheetModel::playbackSpeedChanged);
}

int SheetModel::waitTime() const {
  using Limits = std::numeric_limits<int>;
  return static_cast<int>(
      std::clamp<std::int64_t>(sheet_.waittimenumber.get(), Limits::min(), Limits::max()));
}

int SheetModel::waitUnit() const {
  const auto* found = std::find(units.begin(), units.end(), sheet_.waittimeunit.get());
  return found != units.end() ? static_cast<int>(found - units.begin()) : -1;
}

void SheetModel::setWaitUnit(int unit) {
  if (unit < 0 || static_cast<std::size_t>(unit) >= units.size()) return;
  sheet_.waittimeunit.set(units[static_cast<std::size_t>(unit)]);
}

QStringList SheetModel::unitCaptions() const {
  return {QString::fromStdString(sheet_.secondsLabel.get()),
          QString::fromStdString(sheet_.minutesLabel.get()),
          QString::fromStdString(sheet_.hoursLabel.get())};
}

QString SheetModel::repeatCaption() const {
  return QString::fromStdString(sheet_.repeatCaption());
}

QString SheetModel::speedCaption() const {
  return QString::fromStdString(sheet_.speedCaption());
}

}  // namespace tapeloop
