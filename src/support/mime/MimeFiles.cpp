// Saving parsed attachments and the joined address texts.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include "support/mime/MimeMail.h"

namespace kvmail {
namespace {

constexpr qsizetype kMaxNameBytes = 200;  // below every file system's 255-byte name limit

// Keeps the last path part and replaces what no file system accepts in a name.
QString safeFileName(const QString& given, int index) {
  QString name = given;
  const qsizetype cut =
      std::max(name.lastIndexOf(QLatin1Char('/')), name.lastIndexOf(QLatin1Char('\\')));
  if (cut >= 0) name = name.mid(cut + 1);
  for (QChar& c : name) {
    if (c.unicode() < 0x20 || c.unicode() == 0x7f || QStringLiteral("<>:\"|?*").contains(c))
      c = QLatin1Char('_');
  }
  while (name.endsWith(QLatin1Char('.')) || name.endsWith(QLatin1Char(' '))) name.chop(1);
  name = name.trimmed();
  if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String(".."))
    name = QStringLiteral("attachment%1").arg(index + 1);
  if (name.toUtf8().size() > kMaxNameBytes) {
    const QString suffix = QFileInfo(name).suffix().left(16);
    QString base = name.left(name.size() - (suffix.isEmpty() ? 0 : suffix.size() + 1));
    while ((base + suffix).toUtf8().size() > kMaxNameBytes - 1) base.chop(1);
    name = suffix.isEmpty() ? base : base + QLatin1Char('.') + suffix;
  }
  return name;
}

// Two attachments of one mail with the same name must not overwrite each other.
QString distinctName(const QString& name, QSet<QString>& used) {
  QString candidate = name;
  const QFileInfo info(name);
  const QString suffix = info.suffix();
  const QString base = suffix.isEmpty() ? name : name.left(name.size() - suffix.size() - 1);
  for (int n = 2; used.contains(candidate.toLower()); ++n)
    candidate = suffix.isEmpty() ? QStringLiteral("%1 (%2)").arg(base).arg(n)
                                 : QStringLiteral("%1 (%2).%3").arg(base).arg(n).arg(suffix);
  used.insert(candidate.toLower());
  return candidate;
}

}  // namespace

QStringList saveAttachments(const ParsedMail& mail, const QString& folder) {
  QStringList paths;
  if (mail.attachments.isEmpty()) return {};  // no folder made for a mail without attachments
  QDir dir(folder);
  if (!dir.exists()) QDir().mkpath(folder);
  QSet<QString> used;
  for (int i = 0; i < mail.attachments.size(); ++i) {
    const MimeAttachment& a = mail.attachments[i];
    const QString path =
        QDir::cleanPath(dir.absoluteFilePath(distinctName(safeFileName(a.fileName, i), used)));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) continue;
    if (file.write(a.data) != a.data.size()) continue;
    paths << path;
  }
  return paths;
}

QString joinAddresses(const QList<MimeAddress>& list) {
  QStringList parts;
  for (const MimeAddress& a : list)
    if (!a.address.trimmed().isEmpty()) parts << a.address;  // "Name <>" has none to give
  return parts.join(QLatin1Char(';'));
}

QString joinDisplay(const QList<MimeAddress>& list) {
  QStringList parts;
  for (const MimeAddress& a : list)
    parts << (a.name.isEmpty() ? a.address
                               : a.name + QStringLiteral(" <") + a.address + QLatin1Char('>'));
  return parts.join(QLatin1Char(';'));
}

}  // namespace kvmail
