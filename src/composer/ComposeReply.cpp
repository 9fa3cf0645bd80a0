#include "composer/ComposeReply.h"

#include <QFile>
#include <QRegularExpression>

#include "model/IAttachments.h"
#include "model/IMailAddresses.h"
#include "model/clsMessage.h"
#include "store/MailStore.h"
#include "support/SpecialFolders.h"

namespace kvmail::compose {
namespace {

QString senderText(const QString& name, const QString& address) {
  return name.trimmed().isEmpty() ? address : name + QLatin1Char('<') + address + QLatin1Char('>');
}

QString line(const QString& label, const QString& value) {
  return label + value.toHtmlEscaped() + QStringLiteral("<br>");
}

}  // namespace

QString bodyContents(const QString& html) {
  static const QRegularExpression body(
      QStringLiteral("<body[^>]*>(.*)</body>"),
      QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
  const QRegularExpressionMatch m = body.match(html);
  return m.hasMatch() ? m.captured(1) : html;
}

QString quotedBody(const QString& fromText, const QString& sentTime, const QString& toText,
                   const QString& subject, const QString& originalHtml) {
  return QStringLiteral(
             "<p><br></p>"
             "<p>------------------&nbsp;原始邮件&nbsp;------------------<br>") +
         line(QStringLiteral("发件人："), fromText) + line(QStringLiteral("发送时间："), sentTime) +
         line(QStringLiteral("收件人："), toText) + line(QStringLiteral("主题："), subject) +
         QStringLiteral("</p><div>") + bodyContents(originalHtml) + QStringLiteral("</div>");
}

MessagePtr answerFromStore(const MailStore& store, long mailId, AnswerKind kind) {
  const std::optional<StoredHeader> header = store.header(mailId);
  if (!header) return nullptr;
  // The stored message file goes where the viewer puts it, and is gone once read.
  const QString path = tempFilePath(QString::number(mailId) + QStringLiteral(".eml"));
  const ParsedMail parsed = store.readMessage(mailId, path);
  QFile::remove(path);

  auto message = std::make_shared<clsMessage>();
  message->setPriority(QStringLiteral("3"));
  const QString from = senderText(header->fromName, header->fromAddress);
  message->setBodyText(
      quotedBody(from, header->sentTime, header->toText, header->subject, parsed.htmlBody));
  if (kind == AnswerKind::Reply) {
    message->setSubject(QStringLiteral("回复：") + header->subject);
    message->TOs()->Add(header->fromAddress, header->fromName);
  } else {
    message->setSubject(QStringLiteral("转发：") + header->subject);
    const QString folder = tempFilePath(QStringLiteral("kvmail-fwd-") + QString::number(mailId));
    for (const QString& file : saveAttachments(parsed, folder))
      message->Attachments()->Add(file, QString());
  }
  return message;
}

}  // namespace kvmail::compose
