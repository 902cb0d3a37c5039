#include "views/main_window.h"

#include <QtCore/QUrl>
#include <QtCore/QVariantMap>
#include <QtGui/QGuiApplication>
#include <QtQml/QQmlComponent>

#include "views/symbol_provider.h"

// Generated. It is registered when the program starts, if only something refers to it: the linker
// drops what nobody uses of a static library.
extern void qml_register_types_Tapeloop();

namespace tapeloop {

MainWindow::MainWindow(QQmlEngine& engine, ContentView& view, SheetView& sheet,
                       const Menu& mainMenu, DefaultsStore& frames)
    : model_(view, sheet, mainMenu) {
  [[maybe_unused]] const auto volatile registration = &qml_register_types_Tapeloop;
  QGuiApplication::setWindowIcon(SymbolProvider::programIcon());
  QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/Tapeloop/MainWindow.qml")));
  // Qt crashes when it is to create what it could not load, such as with a module missing.
  QObject* const root =
      component.isReady()
          ? component.createWithInitialProperties({{"model", QVariant::fromValue(&model_)}})
          : nullptr;
  window_.reset(qobject_cast<QQuickWindow*>(root));
  if (!window_) {
    error_ = component.errorString().simplified().toStdString();
    delete root;
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
