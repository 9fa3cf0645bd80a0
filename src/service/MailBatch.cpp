#include "service/MailBatch.h"

#include "model/IAttachments.h"
#include "model/IMailAddress.h"
#include "model/IMailAddresses.h"
#include "model/IMessage.h"
#include "model/MailError.h"
#include "model/clsAccount.h"
#include "model/clsBundle.h"
#include "model/clsMessage.h"
#include "store/MailStore.h"

namespace kvmail {

namespace {

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
  TemplateContent t;
  if (account.lProgID > 0) t = MailStore(host).readTemplate(account.lProgID);
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

}  // namespace kvmail
