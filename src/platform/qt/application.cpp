#include "platform/qt/application.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QByteArray>
#include <QtCore/QDir>
#include <QtCore/QMetaObject>
#include <QtGui/QStyleHints>
#include <QtGui/qguiapplication_platform.h>
#include <QtQuick/QQuickWindow>
#include <QtQuick/QSGRendererInterface>
#include <xcb/xcb.h>

namespace tapeloop::qt {
namespace {

/// An environment variable that holds while Qt starts and is not handed on to other programs.
class TemporaryVariable {
 public:
  TemporaryVariable(const char* name, const char* value)
      : name_(name), previous_(qgetenv(name)), wasSet_(qEnvironmentVariableIsSet(name)) {
    qputenv(name, value);
  }
  TemporaryVariable(const TemporaryVariable&) = delete;
  TemporaryVariable& operator=(const TemporaryVariable&) = delete;
  ~TemporaryVariable() {
    if (wasSet_)
      qputenv(name_, previous_);
    else
      qunsetenv(name_);
  }

 private:
  const char* const name_;
  const QByteArray previous_;
  const bool wasSet_;
};

// Global, since Qt hands nothing else to its handler.
void (*tellUser)(const std::string& sentence) = nullptr;
int exitCodeOfFailure = 1;

/// Standard error is for what the user has to know. Qt's remarks are for whoever works on the
/// program, and are written when the environment asks for them.
void hear(QtMsgType type, const QMessageLogContext& context, const QString& text) {
  if (qEnvironmentVariableIsSet("QT_LOGGING_RULES")) {
    std::fprintf(stderr, "%s\n", qUtf8Printable(qFormatLogMessage(type, context, text)));
  }
  if (type != QtFatalMsg) return;
  tellUser(text.section(QLatin1Char('\n'), 0, 0).toStdString());
  // Qt would abort, as if the fault were the program's.
  std::_Exit(exitCodeOfFailure);
}

}  // namespace

Application::Application(char* program, void (*complain)(const std::string& sentence), int failure)
    : arguments_{program, nullptr} {
  tellUser = complain;
  exitCodeOfFailure = failure;
  qInstallMessageHandler(hear);
  QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
  QCoreApplication::setApplicationName("tapeloop");
  QCoreApplication::setApplicationVersion(TAPELOOP_VERSION);
  QGuiApplication::setApplicationDisplayName("Tapeloop");
  QGuiApplication::setDesktopFileName(TAPELOOP_ID);
  // The plain dispatcher serves descriptors in order of arrival; GLib's puts them after its own.
  const TemporaryVariable plainDispatcher("QT_NO_GLIB", "1");
  // Recording and playing need X11, whatever else Qt would choose.
  const TemporaryVariable platform("QT_QPA_PLATFORM", "xcb");
  // The X library loses a descriptor that comes while many events do, and gives up the connection.
  // Pictures go through the socket instead of memory that is passed so.
  const TemporaryVariable noPassedMemory("QT_XCB_NO_MITSHM", "1");
  application_ = std::make_unique<QGuiApplication>(argumentCount_, arguments_);
  if (const auto* x11 = application_->nativeInterface<QNativeInterface::QX11Application>()) {
    const ClientIds ids = clientIds();
    lostDrags_ = std::make_unique<LostDrags>(x11->connection(), ids.base, ids.mask);
  }
}

Application::~Application() = default;

DoubleClickHints Application::doubleClick() const {
  const auto* hints = QGuiApplication::styleHints();
  return {hints->mouseDoubleClickInterval() / 1000.0,
          static_cast<double>(hints->mouseDoubleClickDistance())};
}

std::string Application::dataFolder() const {
  const QString program = QCoreApplication::applicationDirPath();
  const QDir installed(program + QStringLiteral("/" TAPELOOP_DATA_FOLDER));
  // The user's own folder of that name is at the same place beside a build tree in ~/.local.
  if (installed.exists(QStringLiteral("privacy-policy.html")))
    return installed.canonicalPath().toStdString();
  return (program + QStringLiteral("/share/tapeloop")).toStdString();
}

ClientIds Application::clientIds() const {
  const auto* x11 = application_->nativeInterface<QNativeInterface::QX11Application>();
  if (!x11) return {};
  const auto* setup = xcb_get_setup(x11->connection());
  return {setup->resource_id_base, setup->resource_id_mask};
}

void Application::onWillUpdate(std::function<void()> callback) {
  QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock,
                   application_.get(), std::move(callback));
}

int Application::run() {
  return QGuiApplication::exec();
}

void Application::quit(int exitCode) {
  QMetaObject::invokeMethod(
      application_.get(), [exitCode] { QCoreApplication::exit(exitCode); }, Qt::QueuedConnection);
}

}  // namespace tapeloop::qt
