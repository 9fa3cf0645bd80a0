#include "service/MailBatch.h"

#include "model/IAttachments.h"
#include "model/IMailAddress.h"
#include "model/IMailAddresses.h"
#include "model/IMessage.h"
#include "model/MailError.h"
#include "model/clsBundle.h"
#include "model/clsMessage.h"
#include "service/clsAccount.h"
#include "store/FieldText.h"
#include "store/HostSystem.h"
#include "store/Statements.h"
#include "support/MimeMail.h"
#include "support/SpecialFolders.h"
#include "support/StoredFile.h"

namespace kvmail {

namespace {

struct Template {
  QString to, cc, bcc, subject;  // from the MailTemplet row
  QString fileSubject;           // from the stored template file
  QString body;
  int priority = 0;  // stays 0 when there is no template file
  QStringList attachmentPaths;
};

Template readTemplate(IHostSystem& host, long progId) {
  Template t;
  const QString path =
      tempFilePath(QStringLiteral("temp") + QString::number(progId) + QStringLiteral(".eml"));
  if (columnToFile(progId, path, QStringLiteral("EMail"), host, QStringLiteral("MailTemplet"),
                   QStringLiteral("progID"))) {
    const ParsedMail mail = readMailFile(path, QStringLiteral("gb2312"));
    t.fileSubject = mail.subject;
    t.body = mail.htmlBody;
    t.priority = mail.priority == 0 ? 3 : mail.priority;
    t.attachmentPaths = saveAttachments(mail, tempFolder());
  }
  QString error;
  const auto rs = host.openQuery(sql::templateFields(progId), &error);
  if (!rs) throw MailError(MailError::InvalidArgument, QString(), error);
  if (!rs->atEnd()) {
    t.to = rs->text(QStringLiteral("to"));
    t.cc = rs->text(QStringLiteral("cc"));
    t.bcc = rs->text(QStringLiteral("bcc"));
    t.subject = rs->text(QStringLiteral("subject"));
  }
  return t;
}

// "[key]value": the key runs from the first "[" through the first "]".
void applyItem(const QString& item, QString* fields[4]) {
  const qsizetype open = item.indexOf(QLatin1Char('['));
  const qsizetype close = item.indexOf(QLatin1Char(']'));
  if (open < 0 || close < 0) return;
  if (close < open) throw MailError::invalidArgument();  // a "]" before the "[" cannot be cut
  const QString key = item.mid(open, close - open + 1);
  const QString value = item.mid(close + 1);
  for (int i = 0; i < 4; ++i) fields[i]->replace(key, value);
}

QStringList splitRecords(const QString& text, const QString& separator) {
  // An empty separator leaves the text whole, as one record.
  return separator.isEmpty() ? QStringList{text} : text.split(separator);
}

}  // namespace

BundlePtr buildTemplateBatch(IHostSystem& host, const clsAccount& account, const QString& psMails,
                             const QString& psSeparator) {
  auto bundle = std::make_shared<clsBundle>();
  Template t;
  if (account.lProgID > 0) t = readTemplate(host, account.lProgID);
  const QString mails = psMails.isEmpty() ? QStringLiteral(" ") : psMails;
  for (const QString& record : splitRecords(mails, psSeparator)) {
    auto message = std::make_shared<clsMessage>();
    QString to = t.to, cc = t.cc, bcc = t.bcc, subject = t.subject;
    QString* fields[4] = {&to, &cc, &bcc, &subject};
    for (const QString& item : record.split(QChar(0))) applyItem(item, fields);

    message->TOs()->Parser(to);
    message->Cc()->Parser(cc);
    message->Bcc()->Parser(bcc);
    if (!account.sFrom.isEmpty()) message->From()->setName(account.sFrom);
    message->From()->setAddress(account.sFromAddress);
    message->setPriority(QString::number(t.priority));
    message->setSubject(subject.isEmpty() ? t.fileSubject : subject);
    message->setBodyText(t.body);
    for (const QString& path : t.attachmentPaths)
      message->Attachments()->Add(path.trimmed(), QString());
    bundle->AddMessage(message);
  }
  return bundle;
}

MessagePtr messageFromMime(const ParsedMail& mail, long id, const QString& folder) {
  auto message = std::make_shared<clsMessage>();
  message->setID(id);
  message->From()->setName(mail.from.name);
  message->From()->setAddress(mail.from.address);
  message->ReplyTo()->setName(mail.replyTo.name);
  message->ReplyTo()->setAddress(mail.replyTo.address);
  const auto fill = [](const MailAddressesPtr& list, const QList<MimeAddress>& from) {
    for (const MimeAddress& a : from) list->Add(a.address, a.name, QString());
  };
  fill(message->TOs(), mail.to);
  fill(message->Cc(), mail.cc);
  fill(message->Bcc(), mail.bcc);
  message->setSubject(mail.subject);
  message->setBodyText(mail.htmlBody);
  message->setMessageID(QString());
  message->setPriority(QString::number(mail.priority));
  for (const QString& path : saveAttachments(mail, folder))
    message->Attachments()->Add(path, QString());
  return message;
}

BundlePtr readSendQueue(IHostSystem& host) {
  QString error;
  const auto rs = host.openQuery(sql::sendQueue(), &error);
  if (!rs) throw MailError(MailError::InvalidArgument, QString(), error);
  auto bundle = std::make_shared<clsBundle>();
  for (; !rs->atEnd(); rs->moveNext()) {
    const long id = vbLong(rs->text(QStringLiteral("邮件ID")));
    const QString path =
        tempFilePath(QStringLiteral("temp") + QString::number(id) + QStringLiteral(".eml"));
    if (!columnToFile(id, path, QStringLiteral("消息"), host, QStringLiteral("msgmail"),
                      QStringLiteral("邮件ID")))
      continue;
    // Each queued mail gets its own attachment folder, so two mails with a file of the same name
    // never send each other's attachment.
    const QString folder = tempFilePath(QStringLiteral("kvmail-out-") + QString::number(id));
    bundle->AddMessage(messageFromMime(readMailFile(path, QStringLiteral("gb2312")), id, folder));
  }
  return bundle;
}

}  // namespace kvmail
