// Between parsed message files and what the store and the object model keep of them.
#include "model/IAttachment.h"
#include "model/IAttachments.h"
#include "model/IMailAddress.h"
#include "model/IMailAddresses.h"
#include "model/clsMailAddress.h"
#include "model/clsMessage.h"
#include "store/MailStore.h"

namespace kvmail {
namespace {

// The recipients' names as one text: each name, or the address when there is no name.
QString recipientNames(const QList<MimeAddress>& list) {
  QStringList names;
  for (const MimeAddress& a : list) {
    const QString name = a.name.trimmed().isEmpty() ? a.address : a.name;
    if (!name.trimmed().isEmpty()) names << name;
  }
  return names.join(QLatin1Char(';'));
}

bool hasRealAttachment(const ParsedMail& mail) {
  for (const MimeAttachment& a : mail.attachments)
    if (!a.isInline || a.contentId.isEmpty()) return true;  // pictures in the body do not count
  return false;
}

QString textForm(const MimeAddress& a) {
  clsMailAddress address;
  address.setName(a.name);
  address.setAddress(a.address);
  return address.ToString();
}

}  // namespace

ReceivedFields receivedFields(const ParsedMail& mail) {
  ReceivedFields f;
  f.fromName = mail.from.name;
  f.fromAddress = mail.from.address;
  f.subject = mail.subject;
  f.sentTime = mail.date;
  f.toAddresses = joinAddresses(mail.to);
  f.toNames = recipientNames(mail.to);
  f.email = joinAddresses(mail.cc);
  f.hasAttachments = hasRealAttachment(mail);
  f.priority = mail.priority > 0 ? mail.priority : 3;  // no X-Priority header means normal
  return f;
}

MessagePtr messageFromParsed(const ParsedMail& mail, long id, const QString& folder) {
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

OutgoingMail outgoingMail(const IMessage& message, int headerPriority) {
  OutgoingMail out;
  out.from = {message.From()->Name(), message.From()->Address()};
  if (message.ReplyTo()) out.replyTo = {message.ReplyTo()->Name(), message.ReplyTo()->Address()};
  const auto list = [](const MailAddressesPtr& addresses) {
    QList<MimeAddress> entries;
    for (const MailAddressPtr& a : addresses->NewEnum()) entries.append({a->Name(), a->Address()});
    return entries;
  };
  out.to = list(message.TOs());
  out.cc = list(message.Cc());
  out.bcc = list(message.Bcc());
  out.subject = message.Subject();
  out.htmlBody = message.BodyText();
  out.headerPriority = headerPriority;
  for (const AttachmentPtr& a : message.Attachments()->NewEnum())
    out.attachmentPaths.append(a->FileName());
  return out;
}

ComposedMail composedMail(const OutgoingMail& message, const QString& filePath,
                          const QString& priority, long replyKey) {
  ComposedMail c;
  c.message = message;
  c.filePath = filePath;
  c.fromName = message.from.name;
  c.fromAddress = message.from.address;
  c.fromText = textForm(message.from);
  QStringList addresses, texts;
  for (const MimeAddress& a : message.to) {
    addresses << a.address;
    texts << textForm(a);
  }
  c.toAddresses = addresses.join(QLatin1Char(';'));
  c.toTexts = texts.join(QLatin1Char(';'));
  c.priority = priority;
  c.replyKey = replyKey;
  c.hasAttachments = !message.attachmentPaths.isEmpty();
  return c;
}

}  // namespace kvmail
