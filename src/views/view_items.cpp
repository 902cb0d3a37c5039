#include "views/view_items.h"

#include <memory>

#include <QtCore/QString>
#include <QtCore/QUrl>
#include <QtCore/QVariantMap>
#include <QtQml/QQmlComponent>
#include <QtQuick/QQuickItem>

#include "capture/escape_window.h"
#include "capture/recording_view.h"
#include "views/recording_view_model.h"

namespace tapeloop {
namespace {

/// Compiled once, ahead of the first use.
std::shared_ptr<QQmlComponent> load(QQmlEngine& engine, const char* file) {
  return std::make_shared<QQmlComponent>(&engine, QUrl(QStringLiteral("qrc:/Tapeloop/") + file));
}

std::unique_ptr<QQuickItem> create(QQmlComponent& component, const QVariantMap& properties = {}) {
  QObject* const object = component.createWithInitialProperties(properties);
  if (!object) {
    qWarning("%s", qPrintable(component.errorString()));
    return nullptr;
  }
  return std::unique_ptr<QQuickItem>(qobject_cast<QQuickItem*>(object));
}

}  // namespace

void registerViews(qt::ViewRegistry& registry, QQmlEngine& engine) {
  registry.add<RecordingView>(
      [component = load(engine, "RecordingPill.qml")](const std::shared_ptr<RecordingView>& view) {
        auto model = std::make_unique<RecordingViewModel>(view);
        auto item = create(*component, {{"model", QVariant::fromValue(model.get())}});
        if (item) model.release()->setParent(item.get());
        return item;
      });
  registry.add<EscapeWindow>(
      [component = load(engine, "EscapePill.qml")](const std::shared_ptr<EscapeWindow>&) {
        return create(*component);
      });
}

}  // namespace tapeloop
