#include "support/SpecialFolders.h"

#include "model/MailError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <sys/stat.h>
#include <unistd.h>

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

namespace {

// A temp folder every user can write to (/tmp) gets a folder of this user's inside it, as the
// per-user temp folder of a desktop: fixed names such as temp.eml must never meet another user's
// file, nor a link planted there.
QString privateFolderIn(const QString& shared) {
  const QString mine = shared + QStringLiteral("/kvmail-") + QString::number(::getuid());
  const QByteArray native = QFile::encodeName(mine);
  ::mkdir(native.constData(), 0700);
  struct stat st {};
  if (::lstat(native.constData(), &st) == 0 && S_ISDIR(st.st_mode) && st.st_uid == ::getuid() &&
      (st.st_mode & 0077) == 0)
    return mine;
  // Someone else holds that name: a folder under the user's own cache instead.
  const QString fallback = QDir::homePath() + QStringLiteral("/.cache/kvmail/tmp");
  QDir().mkpath(fallback);
  QFile::setPermissions(fallback, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
  return fallback;
}

}  // namespace

QString tempFolder() {
  static QString lastSetting, lastBase, lastFolder;
  // The base is resolved again only when TMPDIR changes: resolving it walks every link in the
  // path, and the folder is asked for once per mail received or sent.
  const QString setting = qEnvironmentVariable("TMPDIR");
  if (lastBase.isEmpty() || setting != lastSetting) {
    lastSetting = setting;
    lastBase.clear();
  }
  const QString base = lastBase.isEmpty() ? QDir::tempPath() : lastBase;
  if (base != lastBase || !QFileInfo::exists(lastFolder)) {
    const bool shared = QFileInfo(base).permission(QFile::WriteOther);
    lastFolder = shared ? privateFolderIn(base) : base;
    lastBase = base;
  }
  QString folder = lastFolder;
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
