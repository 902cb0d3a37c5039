#include "platform/qt/recorder_texts.h"

#include <cstdio>

#include <QtCore/QFile>
#include <QtCore/QLocale>
#include <QtCore/QRegularExpression>
#include <QtCore/QString>

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

// A line for each text: "key" = "text";
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
