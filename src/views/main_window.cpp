#include "views/main_window.h"

#include <QtCore/QString>
#include <QtCore/QUrl>
#include <QtCore/QVariantMap>
#include <QtGui/QGuiApplication>
#include <QtQml/QQmlComponent>
#include <QtQuick/QQuickItem>

#include "app/app_delegate.h"
#include "capture/indicator_windows.h"
#include "views/symbol_provider.h"

// Generated; registers the types at the start of the program. Something has to refer to it, or the
// linker leaves it out of the program.
extern void qml_register_types_Tapeloop();

// Must be outside of namespaces. Without it the linker leaves out the compiled QML in Qt 6.8, and
// each user's cache folder gets a copy of it.
static void initializeCompiledQml() {
  Q_INIT_RESOURCE(qmlcache_tapeloop_views);
}

namespace tapeloop {
namespace {

/// Compiled once, ahead of the first use.
std::shared_ptr<QQmlComponent> load(QQmlEngine& engine, const char* file) {
  return std::make_shared<QQmlComponent>(&engine, QUrl(QStringLiteral("qrc:/Tapeloop/") + file));
}

/// Null on failure, and then the component says why.
template <typename T>
std::unique_ptr<T> create(QQmlComponent& component, const QVariantMap& properties) {
  // Qt crashes when it creates a component that it could not load, such as with a module missing.
  QObject* const object =
      component.isReady() ? component.createWithInitialProperties(properties) : nullptr;
  std::unique_ptr<T> created(qobject_cast<T*>(object));
  if (!created) delete object;
  return created;
}

std::unique_ptr<QQuickItem> createItem(QQmlComponent& component, const QVariantMap& properties) {
  auto item = create<QQuickItem>(component, properties);
  if (!item) qWarning("%s", qPrintable(component.errorString()));
  return item;
}

/// The item owns `model`, which is its property `name`.
std::unique_ptr<QQuickItem> createItem(QQmlComponent& component, const char* name,
                                       std::unique_ptr<QObject> model, QVariantMap properties) {
  properties.insert(QString::fromUtf8(name), QVariant::fromValue(model.get()));
  auto item = createItem(component, properties);
  if (item) model.release()->setParent(item.get());
  return item;
}

}  // namespace

void registerViews(qt::ViewRegistry& registry, QQmlEngine& engine,
                   const std::string& missingPermission) {
  initializeCompiledQml();
  engine.addImageProvider(QStringLiteral("symbols"), new SymbolProvider);  // the engine owns it
  registry.add<RecordingView>([component = load(engine, "IndicatorPill.qml")](
                                  const std::shared_ptr<RecordingView>& view) {
    // The model keeps the view.
    auto opacity = std::make_unique<NumberValue>(
        nullptr, [view] { return view->circleOpacity().get(); }, nullptr, view->circleOpacity());
    return createItem(*component, "dotOpacity", std::move(opacity), {{"text", "REC"}});
  });
  registry.add<EscapeWindow>(
      [component = load(engine, "IndicatorPill.qml")](const std::shared_ptr<EscapeWindow>&) {
        return createItem(*component, {{"text", "Press Escape to Stop"}});
      });
  // Compiled when it is needed, which is seldom.
  registry.add<AuthorizeView>([&engine, reason = QString::fromStdString(missingPermission)](
                                  const std::shared_ptr<AuthorizeView>& view) {
    const auto component = load(engine, "AuthorizeView.qml");
    auto model = std::make_unique<InformationButtonModel>(
        nullptr, view->informationButton(), [view] { view->informationButton().press(); });
    return createItem(*component, "model", std::move(model), {{"reason", reason}});
  });
}

MainWindow::MainWindow(QQmlEngine& engine, ContentView& view, SheetView& sheet,
                       const Menu& mainMenu, DefaultsStore& frames)
    : model_(view, sheet, mainMenu) {
  [[maybe_unused]] const auto volatile registration = &qml_register_types_Tapeloop;
  QGuiApplication::setWindowIcon(SymbolProvider::programIcon());
  const auto component = load(engine, "MainWindow.qml");
  window_ = create<QQuickWindow>(*component, {{"model", QVariant::fromValue(&model_)}});
  if (!window_) {
    error_ = component->errorString().simplified().toStdString();
    return;
  }
  frame_ = std::make_unique<qt::FrameAutosave>(frames, *window_, "Tapeloop");
  frame_->restore();
  window_->show();
  view.onAppear();
  view.onToolbarAppear();
}

void MainWindow::bringToFront() {
  if (!window_) return;
  window_->showNormal();
  window_->raise();
  window_->requestActivate();
}

}  // namespace tapeloop
