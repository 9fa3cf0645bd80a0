#include "viewer/ViewedMail.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include "support/SpecialFolders.h"

namespace kvmail {
namespace {

// How the reader turns a plain-text-only mail into HTML; a body equal to it had no HTML part.
QString readerTextHtml(const QString& text) {
  QString html = text.toHtmlEscaped();
  html.replace(QLatin1String("\n"), QLatin1String("<br>\n"));
  return html;
}

bool hasHtmlPart(const ParsedMail& mail) {
  if (mail.htmlBody.isEmpty()) return false;
  return mail.textBody.isEmpty() || mail.htmlBody != readerTextHtml(mail.textBody);
}

// Saves the attachments and answers one path per attachment ("" for one that failed). One
// folder per attachment only when a file could not be written, so the paths still line up.
QStringList saveEach(const ParsedMail& parsed, const QString& folder) {
  QStringList paths = saveAttachments(parsed, folder);
  if (paths.size() == parsed.attachments.size()) return paths;
  paths.clear();
  for (qsizetype i = 0; i < parsed.attachments.size(); ++i) {
    ParsedMail one;
    one.attachments = {parsed.attachments[i]};
    const QStringList saved = saveAttachments(one, folder + u'/' + QString::number(i));
    paths << (saved.isEmpty() ? QString() : saved.first());
  }
  return paths;
}

}  // namespace

QString senderText(const QString& name, const QString& address) {
  if (name.isEmpty()) return address;
  return name + u'<' + address + u'>';
}

QString priorityText(long priority) {
  if (priority == 1) return QStringLiteral("邮件状态：高优先级。");
  if (priority == 2) return QStringLiteral("邮件状态：低优先级。");
  return {};
}

QString viewedMessagePath(long mailId) {
  return tempFilePath(QString::number(mailId) + QStringLiteral(".eml"));
}

QString viewedAttachmentFolder(long mailId) {
  return tempFilePath(QStringLiteral("kvmail-view-") + QString::number(mailId));
}

ViewedMail loadViewedMail(const MailStore& store, long mailId) {
  ViewedMail mail;
  mail.mailId = mailId;
  const std::optional<StoredHeader> header = store.header(mailId);
  if (!header) return mail;
  mail.found = true;
  mail.header = *header;

  // The stored-file copy keeps the tail of an older, longer file; a mail shown again after its
  // file changed must not show that tail, so the old copy goes first.
  mail.messagePath = viewedMessagePath(mailId);
  QFile::remove(mail.messagePath);
  mail.parsed = store.readMessage(mailId, mail.messagePath);
  mail.hasMessage = mail.parsed.ok;
  mail.htmlBody = hasHtmlPart(mail.parsed);

  for (const MimeAttachment& a : mail.parsed.attachments) {
    if (!a.contentId.isEmpty()) mail.partsById.insert(a.contentId, a.data);
    if (a.isInline && !a.fileName.isEmpty()) mail.partsByName.insert(a.fileName, a.data);
  }

  if (mail.header.attachments != 0 && !mail.parsed.attachments.isEmpty()) {
    const QString folder = viewedAttachmentFolder(mailId);
    QDir(folder).removeRecursively();  // the view's own folder: files of an earlier showing
    const QStringList paths = saveEach(mail.parsed, folder);
    for (qsizetype i = 0; i < mail.parsed.attachments.size(); ++i) {
      const MimeAttachment& a = mail.parsed.attachments[i];
      mail.attachments.append(
          {QString::number(i) + u'k', a.fileName, paths.value(i), qint64(a.data.size())});
    }
  }
  // Only the parts the body may show stay in memory; the rest are in their files now.
  for (MimeAttachment& a : mail.parsed.attachments)
    if (a.contentId.isEmpty() && !a.isInline) a.data.clear();
  return mail;
}

QString plainTextHtml(const QString& text) {
  static const QRegularExpression link(QStringLiteral(
      R"((?:https?://|ftp://|mailto:|www\.)[A-Za-z0-9\-._~:/?#\[\]@!$&'()*+,;=%]+)"));
  // Sentence punctuation after an address, or an escaped quote or bracket, is not part of it.
  static const QRegularExpression trailing(QStringLiteral(R"(([.,;:!?)\]']|&[a-z]+;?)+$)"));
  const QString escaped = text.toHtmlEscaped();
  QString html;
  html.reserve(escaped.size() + 64);
  qsizetype last = 0;
  auto it = link.globalMatch(escaped);
  while (it.hasNext()) {
    const auto m = it.next();
    QString url = m.captured(0);
    const auto tail = trailing.match(url);
    if (tail.hasMatch()) url.chop(tail.capturedLength(0));
    if (url.isEmpty()) continue;
    const QString href =
        url.startsWith(QLatin1String("www.")) ? QStringLiteral("http://") + url : url;
    html += escaped.mid(last, m.capturedStart(0) - last);
    html += QStringLiteral("<a href=\"%1\">%2</a>").arg(href, url);
    last = m.capturedStart(0) + url.size();
  }
  html += escaped.mid(last);
  return QStringLiteral("<html><body><div style=\"white-space: pre-wrap;\">") + html +
         QStringLiteral("</div></body></html>");
}

QString bodyHtml(const ViewedMail& mail) {
  if (mail.htmlBody) return mail.parsed.htmlBody;
  return plainTextHtml(mail.parsed.textBody);
}

QString printText(const ViewedMail& mail, const QString& bodyText) {
  QStringList lines;
  lines << QStringLiteral("邮件编号：%1").arg(mail.mailId);
  lines << QStringLiteral("发件人：") + senderText(mail.header.fromName, mail.header.fromAddress);
  lines << QStringLiteral("收件人：") + mail.header.toText;
  lines << QStringLiteral("发送时间：") + mail.header.sentTime;
  lines << QStringLiteral("主题：") + mail.header.subject;
  if (const QString priority = priorityText(mail.header.priority); !priority.isEmpty())
    lines << priority;
  if (!mail.attachments.isEmpty()) {
    QStringList names;
    for (const ViewedAttachment& a : mail.attachments) names << a.name;
    lines << QStringLiteral("附件：") + names.join(QStringLiteral("；"));
  }
  lines << QString() << bodyText;
  return lines.join(u'\n') + u'\n';
}

}  // namespace kvmail
