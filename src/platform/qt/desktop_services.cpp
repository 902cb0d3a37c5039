#include "platform/qt/desktop_services.h"

#include <cstdio>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QLocale>
#include <QtCore/QRegularExpression>
#include <QtCore/QString>
#include <QtCore/QUrl>
#include <QtGui/QDesktopServices>

namespace tapeloop::qt {
namespace {

constexpr const char* bundleName = "KeyboardShortcuts_KeyboardShortcuts";
constexpr qint64 largestFile = 1 << 20;

QString unescaped(QString text) {
  static const QRegularExpression escape(QStringLiteral(R"(\\(.))"));
  return text.replace(QStringLiteral("\\n"), QStringLiteral("\n"))
      .replace(escape, QStringLiteral("\\1"));
}

}  // namespace

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

// Each line of the file reads: "key" = "text";
std::map<std::string, std::string, std::less<>> loadRecorderTexts(const std::string& dataFolder) {
  std::map<std::string, std::string, std::less<>> texts;
  const QString bundle = QString::fromStdString(dataFolder + '/' + bundleName + ".bundle/");
  const QString language = QLocale().name().section(QLatin1Char('_'), 0, 0);
  for (const QString& folder : {language, QStringLiteral("en")}) {
    QFile file(bundle + folder + QStringLiteral(".lproj/Localizable.strings"));
    if (!file.open(QIODevice::ReadOnly)) continue;
    const QString content = QString::fromUtf8(file.read(largestFile));
    static const QRegularExpression line(
        QStringLiteral(R"re(^\s*"((?:[^"\\]|\\.)*)"\s*=\s*"((?:[^"\\]|\\.)*)"\s*;)re"),
        QRegularExpression::MultilineOption);
    for (auto match = line.globalMatch(content); match.hasNext();) {
      const auto found = match.next();
      texts.emplace(unescaped(found.captured(1)).toStdString(),
                    unescaped(found.captured(2)).toStdString());
    }
    return texts;
  }
  std::fprintf(stderr, "tapeloop: unable to find bundle named %s\n", bundleName);
  return texts;
}

}  // namespace tapeloop::qt
