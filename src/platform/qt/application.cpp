#include "platform/qt/application.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>
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

#include "platform/system/handles.h"

namespace tapeloop::qt {
namespace {

using system::own;

/// Sets an environment variable while Qt starts. Programs that are started later don't get it.
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

// Global, since a message handler of Qt has no context argument.
void (*tellUser)(const std::string& sentence) = nullptr;
int exitCodeOfFailure = 1;

/// Qt's messages are for developers and are written only if QT_LOGGING_RULES is set. A fatal one is
/// told to the user.
void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& text) {
  if (qEnvironmentVariableIsSet("QT_LOGGING_RULES")) {
    std::fprintf(stderr, "%s\n", qUtf8Printable(qFormatLogMessage(type, context, text)));
  }
  if (type != QtFatalMsg) return;
  tellUser(text.section(QLatin1Char('\n'), 0, 0).toStdString());
  // Returning would make Qt abort, which looks like a crash of the program.
  std::_Exit(exitCodeOfFailure);
}

xcb_atom_t internAtom(xcb_connection_t* connection, std::string_view name) {
  const auto length = static_cast<std::uint16_t>(name.size());
  const auto reply = own(xcb_intern_atom_reply(
      connection, xcb_intern_atom(connection, 0, length, name.data()), nullptr));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

/// Workaround for Qt 6, which does not notice when the source of a drag from another program exits
/// in the middle of the drag: the drop area would stay on the screen until the next drag. When the
/// window of the source is destroyed, Qt gets the XdndLeave that the source could not send.
class LostDrags final : public QAbstractNativeEventFilter {
 public:
  /// Of Qt itself.
  explicit LostDrags(xcb_connection_t* connection)
      : connection_(connection),
        enter_(internAtom(connection, "XdndEnter")),
        position_(internAtom(connection, "XdndPosition")),
        leave_(internAtom(connection, "XdndLeave")) {
    QCoreApplication::instance()->installNativeEventFilter(this);
  }

  bool nativeEventFilter(const QByteArray&, void* message, qintptr*) override {
    switch (static_cast<const xcb_generic_event_t*>(message)->response_type & 0x7F) {
      case XCB_CLIENT_MESSAGE: {
        const auto& event = *static_cast<const xcb_client_message_event_t*>(message);
        if (event.type == enter_) source_ = XCB_WINDOW_NONE;
        if (event.type != position_) break;
        target_ = event.window;
        // Not yet at the XdndEnter: Qt selects events on the source after this filter has run.
        if (std::exchange(source_, event.data.data32[0]) == XCB_WINDOW_NONE) watchSource();
        break;
      }
      case XCB_DESTROY_NOTIFY:
        // After a drag that has ended Qt ignores the message.
        if (static_cast<const xcb_destroy_notify_event_t*>(message)->window == source_) sendLeave();
        break;
      default:
        break;
    }
    return false;
  }

 private:
  // Adds to the events that Qt has selected on the window.
  void watchSource() const {
    const auto attributes = own(xcb_get_window_attributes_reply(
        connection_, xcb_get_window_attributes(connection_, source_), nullptr));
    if (!attributes) return;
    const std::uint32_t events = attributes->your_event_mask | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    // Checked, so that Qt does not write about the error if the window is gone by now.
    (void)own(xcb_request_check(
        connection_,
        xcb_change_window_attributes_checked(connection_, source_, XCB_CW_EVENT_MASK, &events)));
  }

  void sendLeave() {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = target_;
    message.type = leave_;
    message.data.data32[0] = std::exchange(source_, XCB_WINDOW_NONE);
    xcb_send_event(connection_, 0, target_, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(connection_);
  }

  xcb_connection_t* const connection_;
  const xcb_atom_t enter_;
  const xcb_atom_t position_;
  const xcb_atom_t leave_;
  xcb_window_t source_ = XCB_WINDOW_NONE;  // of the latest drag
  xcb_window_t target_ = XCB_WINDOW_NONE;
};

}  // namespace

Application::Application(char* program, system::EpollRunLoop& loop,
                         void (*complain)(const std::string& sentence), int failure)
    : arguments_{program, nullptr} {
  tellUser = complain;
  exitCodeOfFailure = failure;
  qInstallMessageHandler(handleMessage);
  QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
  QCoreApplication::setApplicationName("tapeloop");
  QCoreApplication::setApplicationVersion(TAPELOOP_VERSION);
  QGuiApplication::setApplicationDisplayName("Tapeloop");
  QGuiApplication::setDesktopFileName(TAPELOOP_ID);
  // Qt's own dispatcher serves descriptors in order of arrival. The one on GLib serves them after
  // GLib's own sources.
  const TemporaryVariable plainDispatcher("QT_NO_GLIB", "1");
  // Recording and playing need X11. In a Wayland session Qt would choose Wayland.
  const TemporaryVariable platform("QT_QPA_PLATFORM", "xcb");
  // Workaround for a fault of libxcb: it loses a file descriptor that arrives together with many
  // events, and then closes the connection. Without shared memory no descriptors are passed.
  const TemporaryVariable noSharedMemory("QT_XCB_NO_MITSHM", "1");
  application_ = std::make_unique<QGuiApplication>(argumentCount_, arguments_);
  if (const auto* x11 = application_->nativeInterface<QNativeInterface::QX11Application>()) {
    lostDrags_ = std::make_unique<LostDrags>(x11->connection());
  }
  runLoop_ = std::make_unique<QSocketNotifier>(loop.fileDescriptor(), QSocketNotifier::Read);
  QObject::connect(runLoop_.get(), &QSocketNotifier::activated, [&loop] { loop.dispatch(); });
  // Qt's own events may leave something to do, such as a timer that a button has started.
  QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock,
                   runLoop_.get(), [&loop] { loop.endTurn(); });
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
  // For a build tree in ~/.local this path is the user's data folder, which has no such page.
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
