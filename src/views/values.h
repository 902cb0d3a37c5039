#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtGui/QColor>
#include <QtQml/qqmlregistration.h>

#include "platform/observable.h"
#include "platform/qt/color.h"

namespace tapeloop {

/// Makes an `Observable` into an object that QML binds to: `value` reads it and may write it, and
/// `changed` says that it has changed. The subclasses give `value` its type. A model has one for
/// each value that it shows, as a constant property.
class Value : public QObject {
  Q_OBJECT
  QML_ANONYMOUS

 public:
  using Read = std::function<QVariant()>;
  using Write = std::function<void(const QVariant&)>;

  /// When `changed` is emitted. Alerts are shown later, when Qt's loop gets its turn: a modal
  /// window that opens while Qt is delivering the release of a button takes the next click from
  /// that button.
  enum class Notice : std::uint8_t { atOnce, later };

  template <typename T>
  Value(QObject* parent, Observable<T>& source, Notice notice = Notice::atOnce)
      : Value(
            parent, [&source] { return toVariant(source.get()); }, writer(source)) {
    follow(source, notice);
  }
  /// A value that is worked out, again whenever one of `sources` changes.
  template <typename... T>
  Value(QObject* parent, Read read, Write write, Observable<T>&... sources)
      : QObject(parent), read_(std::move(read)), write_(std::move(write)) {
    (follow(sources), ...);
  }
  /// `changed` is emitted for the changes of `source`.
  template <typename T>
  void follow(Observable<T>& source, Notice notice = Notice::atOnce) {
    subscriptions_.push_back(source.subscribe([this, notice] {
      QMetaObject::invokeMethod(
          this, &Value::changed,
          notice == Notice::later ? Qt::QueuedConnection : Qt::DirectConnection);
    }));
  }

 Q_SIGNALS:
  void changed();

 protected:
  [[nodiscard]] QVariant read() const { return read_(); }
  void write(const QVariant& value) { write_(value); }

 private:
  static QVariant toVariant(const std::string& text) { return QString::fromStdString(text); }
  static QVariant toVariant(Color color) { return toQt(color); }
  template <typename T>
  static QVariant toVariant(T value) requires std::is_arithmetic_v<T> {
    return QVariant::fromValue(value);
  }

  template <typename T>
  static Write writer(Observable<T>& source) {
    if constexpr (std::is_arithmetic_v<T>) {
      return [&source](const QVariant& value) { source.set(value.value<T>()); };
    }
    return {};
  }

  const Read read_;
  const Write write_;
  std::vector<Subscription> subscriptions_;
};

// The base class is qualified for qmllint: Qt 6.4 looks for the name as it is written here.

class BoolValue final : public tapeloop::Value {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("belongs to a model")
  Q_PROPERTY(bool value READ value WRITE setValue NOTIFY changed)

 public:
  using Value::Value;
  [[nodiscard]] bool value() const { return read().toBool(); }
  void setValue(bool value) { write(value); }
};

class IntegerValue final : public tapeloop::Value {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("belongs to a model")
  Q_PROPERTY(int value READ value WRITE setValue NOTIFY changed)

 public:
  using Value::Value;
  [[nodiscard]] int value() const { return read().toInt(); }
  void setValue(int value) { write(value); }
};

class NumberValue final : public tapeloop::Value {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("belongs to a model")
  Q_PROPERTY(double value READ value WRITE setValue NOTIFY changed)

 public:
  using Value::Value;
  [[nodiscard]] double value() const { return read().toDouble(); }
  void setValue(double value) { write(value); }
};

class TextValue final : public tapeloop::Value {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("belongs to a model")
  Q_PROPERTY(QString value READ value NOTIFY changed)

 public:
  using Value::Value;
  [[nodiscard]] QString value() const { return read().toString(); }
};

class ColorValue final : public tapeloop::Value {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("belongs to a model")
  Q_PROPERTY(QColor value READ value NOTIFY changed)

 public:
  using Value::Value;
  [[nodiscard]] QColor value() const { return read().value<QColor>(); }
};

}  // namespace tapeloop
