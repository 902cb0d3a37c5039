#include "views/main_window.h"

#include <QtCore/QUrl>
#include <QtCore/QVariantMap>
#include <QtQml/QQmlComponent>

// Generated. It is registered when the program starts, if only something refers to it: the linker
// drops what nobody uses of a static library.
extern void qml_register_types_Tapeloop();

namespace tapeloop {

MainWindow::MainWindow(QQmlEngine& engine, ContentView& view) : model_(view) {
  [[maybe_unused]] const auto volatile registration = &qml_register_types_Tapeloop;
  QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/Tapeloop/MainWindow.qml")));
  QObject* const root =
      component.createWithInitialProperties({{"model", QVariant::fromValue(&model_)}});
  window_.reset(qobject_cast<QQuickWindow*>(root));
  if (!window_) {
    qWarning("%s", qPrintable(component.errorString()));
    delete root;
    return;
  }
  window_->show();
  view.onAppear();
}

}  // namespace tapeloop
