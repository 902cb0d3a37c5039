// The least that a Qt Quick program on the software scene graph can be: one empty window.
#include <QGuiApplication>
#include <QQuickView>
#include <QQuickWindow>

int main(int argumentCount, char** arguments) {
  QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
  const QGuiApplication application(argumentCount, arguments);
  QQuickView window;
  window.setColor(Qt::white);
  window.resize(280, 170);
  window.show();
  return QGuiApplication::exec();
}
