#include "views/view_items.h"

#include <memory>
#include <string>

#include <QtCore/QString>
#include <QtCore/QUrl>
#include <QtCore/QVariantMap>
#include <QtQml/QQmlComponent>
#include <QtQuick/QQuickItem>

#include "app/authorize_view.h"
#include "capture/indicator_windows.h"
#include "views/information_button_model.h"
#include "views/recording_view_model.h"
#include "views/symbol_provider.h"

namespace tapeloop {
namespace {

/// Compiled once, ahead of the first use.
std::shared_ptr<QQmlComponent> load(QQmlEngine& engine, const char* file) {
  return std::make_shared<QQmlComponent>(&engine, QUrl(QStringLiteral("qrc:/Tapeloop/") + file));
}

std::unique_ptr<QQuickItem> create(QQmlComponent& component, const QVariantMap& properties = {}) {
  // Qt crashes when it is to create what it could not load, such as with a module missing.
  QObject* const object =
      component.isReady() ? component.createWithInitialProperties(properties) : nullptr;
  if (!object) {
    qWarning("%s", qPrintable(component.errorString()));
    return nullptr;
  }
  return std::unique_ptr<QQuickItem>(qobject_cast<QQuickItem*>(object));
}

}  // namespace

void registerViews(qt::ViewRegistry& registry, QQmlEngine& engine,
                   const std::string& missingPermission) {
  engine.addImageProvider(QStringLiteral("symbols"), new SymbolProvider);  // the engine owns it
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
  // Seen by few, and then once: it is compiled when it is needed.
  registry.add<AuthorizeView>([&engine, reason = QString::fromStdString(missingPermission)](
                                  const std::shared_ptr<AuthorizeView>& view) {
    const auto component = load(engine, "AuthorizeView.qml");
    auto model = std::make_unique<InformationButtonModel>(
        view->informationButton(), [view] { view->informationButton().press(); });
    auto item =
        create(*component, {{"model", QVariant::fromValue(model.get())}, {"reason", reason}});
    if (item) model.release()->setParent(item.get());
    return item;
  });
}

}  // namespace tapeloop
