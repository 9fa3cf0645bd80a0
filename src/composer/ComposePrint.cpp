#include "composer/ComposePrint.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include "composer/ComposeReply.h"
#include "model/IAttachment.h"
#include "model/IAttachments.h"
#include "model/IMailAddress.h"
#include "model/IMailAddresses.h"
#include "model/IMessage.h"
#include "support/SpecialFolders.h"

namespace kvmail::compose {
namespace {

QString row(const QString& label, const QString& value) {
  if (value.trimmed().isEmpty()) return {};
  return QStringLiteral("<tr><td style=\"white-space:nowrap;padding-right:8px\"><b>") + label +
         QStringLiteral("</b></td><td>") + value.toHtmlEscaped() + QStringLiteral("</td></tr>");
}

}  // namespace

QString printFolder() {
  // The per-user temporary folder is the base: nobody else can read or replace the file there.
  const QString folder = tempFilePath(QStringLiteral("selfPrint"));
  QDir().mkpath(folder);
  return folder + QLatin1Char('/');
}

QString writePrintFile(const IMessage& message, const QString& name) {
  QStringList files;
  for (const AttachmentPtr& a : message.Attachments()->NewEnum())
    files << QFileInfo(a->FileName()).fileName();
  const QString html =
      QStringLiteral("<html><head><meta charset=\"utf-8\"><title>") +
      message.Subject().toHtmlEscaped() + QStringLiteral("</title></head><body><table>") +
      row(QStringLiteral("发件人："), message.From() ? message.From()->ToString() : QString()) +
      row(QStringLiteral("收件人："), message.TOs() ? message.TOs()->ToString() : QString()) +
      row(QStringLiteral("抄送："), message.Cc() ? message.Cc()->ToString() : QString()) +
      row(QStringLiteral("主题："), message.Subject()) +
      row(QStringLiteral("附件："), files.join(QStringLiteral("; "))) +
      QStringLiteral("</table><hr>") + bodyContents(message.BodyText()) +
      QStringLiteral("</body></html>\n");
  const QString path = printFolder() + name + QStringLiteral(".txt");
  QSaveFile file(path);
  if (!file.open(QIODevice::WriteOnly)) return {};
  file.write(html.toUtf8());
  return file.commit() ? path : QString();
}

}  // namespace kvmail::compose
