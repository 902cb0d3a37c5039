#include "platform/qt/workspace.h"

#include <QtCore/QFileInfo>
#include <QtCore/QString>
#include <QtCore/QUrl>
#include <QtGui/QDesktopServices>

namespace tapeloop::qt {

bool Workspace::openURL(std::string_view url) {
  constexpr std::string_view shipped = "tapeloop:";
  if (!url.starts_with(shipped)) {
    return QDesktopServices::openUrl(
        QUrl(QString::fromUtf8(url.data(), static_cast<qsizetype>(url.size()))));
  }
  const std::string file = pages_ + '/' + std::string(url.substr(shipped.size()));
  const QFileInfo page(QString::fromStdString(file));
  return page.exists() && QDesktopServices::openUrl(QUrl::fromLocalFile(page.absoluteFilePath()));
}

}  // namespace tapeloop::qt
