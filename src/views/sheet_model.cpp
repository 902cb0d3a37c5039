#include "views/sheet_model.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include <QtCore/QMetaObject>
#include <QtCore/QPointer>
#include <QtCore/QRectF>

namespace tapeloop {
namespace {

// The units as they are stored, in the order of the captions.
constexpr const char* units[] = {"seconds", "minutes", "hours"};

QStringList numbersTo(std::int64_t last) {
  QStringList numbers;
  for (std::int64_t number = 1; number <= last; ++number) numbers.append(QString::number(number));
  return numbers;
}

}  // namespace

RecorderModel::RecorderModel(QObject* parent, const ShortcutSlot& slot, RecorderCocoa& recorder)
    : QObject(parent),
      recorder_(recorder),
      alertChanged_(recorder.alert.subscribe([this] {
        if (recorder_.alert.get()) latestAlert_ = *recorder_.alert.get();
      })),
      // Queued: the field asks while a key event is being delivered, during which the focus must
      // not change.
      focusRequested_(recorder.onFocusRequest([this](bool wanted) {
        QMetaObject::invokeMethod(
            this, [this, wanted] { Q_EMIT focusRequested(wanted); }, Qt::QueuedConnection);
      })),
      caption(QString::fromUtf8(slot.caption)),
      tint(toQt(slot.tint)),
      tintOnDark(toQt(slot.tintOnDark)),
      showingAlert(new BoolValue(this, [this] { return recorder_.alert.get().has_value(); }, {})) {
  showingAlert->follow(recorder.alert, Value::Notice::later);
}

void RecorderModel::setField(QQuickItem* field) {
  recorder_.setBounds([field = QPointer<QQuickItem>(field)]() -> Rect {
    if (!field) return {};
    const QRectF place = field->mapRectToScene({0, 0, field->width(), field->height()});
    return {{place.x(), place.y()}, {place.width(), place.height()}};
  });
}

SheetModel::SheetModel(QObject* parent, SheetView& sheet)
    : QObject(parent),
      sheet_(sheet),
      waitTimes(numbersTo(SheetView::longestWait)),
      waitTime(new IntegerValue(
          this,
          [this] {
            const std::int64_t time = settings_.waittimenumber.get();
            return time >= 1 && time <= SheetView::longestWait ? static_cast<int>(time) - 1 : -1;
          },
          [this](const QVariant& index) { settings_.waittimenumber.set(index.toInt() + 1); },
          settings_.waittimenumber)),
      waitUnit(new IntegerValue(
          this,
          [this] {
            const auto* const found =
                std::find(std::begin(units), std::end(units), settings_.waittimeunit.get());
            return found != std::end(units) ? static_cast<int>(found - units) : -1;
          },
          [this](const QVariant& index) {
            const int unit = index.toInt();
            if (unit >= 0 && unit < static_cast<int>(std::size(units))) {
              settings_.waittimeunit.set(units[unit]);
            }
          },
          settings_.waittimeunit)),
      isRecordingShortcut(new BoolValue(this,
                                        [this] {
                                          const auto& recorders = sheet_.recorders();
                                          return std::any_of(recorders.begin(), recorders.end(),
                                                             [](const RecorderCocoa& recorder) {
                                                               return recorder.isRecording.get();
                                                             });
                                        },
                                        {})) {
  unitCaptions_.insertRows(0, static_cast<int>(std::size(units)));
  for (auto* label : {&sheet.secondsLabel, &sheet.minutesLabel, &sheet.hoursLabel}) {
    subscriptions_.push_back(label->subscribe([this] { showUnitCaptions(); }));
  }
  showUnitCaptions();
  std::size_t slot = 0;
  for (RecorderCocoa& recorder : sheet.recorders()) {
    recorders_.append(new RecorderModel(this, shortcutSlots[slot++], recorder));
    isRecordingShortcut->follow(recorder.isRecording);
  }
}

void SheetModel::showUnitCaptions() {
  int row = 0;
  for (auto* label : {&sheet_.secondsLabel, &sheet_.minutesLabel, &sheet_.hoursLabel}) {
    unitCaptions_.setData(unitCaptions_.index(row++), QString::fromStdString(label->get()));
  }
}

}  // namespace tapeloop
