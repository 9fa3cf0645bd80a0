#include "support/SpecialFolders.h"

#include "model/MailError.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace kvmail {
namespace {

QString home(const QString& below) {
  return QDir::homePath() + u'/' + below;
}

QString located(QStandardPaths::StandardLocation location) {
  return QStandardPaths::writableLocation(location);
}

QString dataBelow(const QString& below) {
  return located(QStandardPaths::GenericDataLocation) + u'/' + below;
}

QString configBelow(const QString& below) {
  return located(QStandardPaths::GenericConfigLocation) + u'/' + below;
}

}  // namespace

QString GetSystemPath(const QString& name) {
  using SP = QStandardPaths;
  if (name == u"Windows") return QStringLiteral("/usr");
  if (name == u"System") return QStringLiteral("/usr/lib");
  if (name == u"Temp") return tempFolder();
  if (name == u"Desktop") return located(SP::DesktopLocation);
  if (name == u"Sendto") return dataBelow(QStringLiteral("nautilus/scripts"));
  if (name == u"Mydocuments") return located(SP::DocumentsLocation);
  if (name == u"Programs") return located(SP::ApplicationsLocation);
  if (name == u"Startup") return configBelow(QStringLiteral("autostart"));
  if (name == u"Startmenu") return located(SP::ApplicationsLocation);
  if (name == u"Myfavorites") return configBelow(QStringLiteral("gtk-3.0"));
  if (name == u"Recent") return dataBelow(QStringLiteral("RecentDocuments"));
  if (name == u"Nethood") return dataBelow(QStringLiteral("remoteview"));
  if (name == u"Fonts") return located(SP::FontsLocation);
  if (name == u"Cookies") return dataBelow(QStringLiteral("cookies"));
  if (name == u"History") return dataBelow(QStringLiteral("history"));
  if (name == u"Pagetemp") return located(SP::GenericCacheLocation);
  if (name == u"Shellnew") return home(QStringLiteral("Templates"));
  if (name == u"Application") return located(SP::GenericDataLocation);
  if (name == u"Printhood") return home(QStringLiteral(".cups"));
  return {};
}

QString tempFolder() {
  QString folder = QDir::tempPath();
  if (!folder.endsWith(u'/')) folder += u'/';
  return folder;
}

QString tempFilePath(const QString& fileName) {
  QString folder = GetSystemPath(QStringLiteral("Temp"));
  if (!folder.endsWith(u'/')) folder += u'/';
  return folder + fileName;
}

QString fileToText(const QString& path) {
  QFile file(path);
  if (!file.exists()) throw MailError::fileNotFound(QStringLiteral("fileToText"));
  if (!file.open(QIODevice::ReadOnly))
    throw MailError::pathFileAccess(QStringLiteral("fileToText"));
  const qint64 length = file.size();
  // A count of -1 for an empty file is an invalid argument, as it always was.
  if (length < 1) throw MailError::invalidArgument(QStringLiteral("fileToText"));
  // The last byte is dropped on purpose: callers rely on losing the trailing line break.
  return QString::fromUtf8(file.read(length - 1));
}

}  // namespace kvmail
