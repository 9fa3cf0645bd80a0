#include "transfer/ReceivedMailStore.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include "store/HostSystem.h"
#include "store/Statements.h"
#include "support/MimeMail.h"
#include "support/Prompt.h"
#include "support/SpecialFolders.h"
#include "support/StoredFile.h"
#include "transfer/TransferView.h"

namespace kvmail {

namespace {

constexpr qsizetype kInMemoryLimit = 4 * 1024 * 1024;

// The recipients' names as one text: each name, or the address when there is no name.
QString recipientNames(const QList<MimeAddress>& list) {
  QStringList names;
  for (const MimeAddress& a : list) names << (a.name.trimmed().isEmpty() ? a.address : a.name);
  return names.join(QLatin1Char(';'));
}

int attachmentCount(const ParsedMail& mail) {
  int n = 0;
  for (const MimeAttachment& a : mail.attachments)
    if (!a.isInline || a.contentId.isEmpty()) ++n;  // images shown inside the body do not count
  return n;
}

}  // namespace

ReceivedMailStore::ReceivedMailStore(ITransferView& view, IHostSystem& host,
                                     const clsAccount& account, QObject* parent)
    : QObject(parent), view_(view), host_(host), account_(account) {}

bool ReceivedMailStore::SaveReceivedMail(QByteArray text, const QString& uidl) {
  const QString path = tempFilePath(QStringLiteral("temp.eml"));
  view_.WriteLog(QStringLiteral("正在写文件:") + path, 1);
  // A usual mail is read and stored from the bytes in hand, which saves reading the file back
  // twice; a large one only from the file, so that it is never held in memory twice.
  const bool inMemory = text.size() < kInMemoryLimit;
  {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) return false;
    // The bytes as the server sent them, and the line break the file always ended with.
    if (file.write(text) != text.size() || file.write("\r\n", 2) != 2) return false;
  }
  if (inMemory)
    text.append("\r\n", 2);
  else
    text = QByteArray();
  const qint64 size = inMemory ? text.size() : QFileInfo(path).size();
  const ParsedMail mail =
      inMemory ? readMailBytes(text, QStringLiteral("gb2312"), MimeParts::StructureOnly)
               : readMailFile(path, QStringLiteral("gb2312"), MimeParts::StructureOnly);

  // The row and its file go in together or not at all, so a failure never leaves a stored
  // UIDL without its message (which would stop the next session from fetching it again).
  const QString beginError = host_.beginTransaction();
  if (!beginError.isEmpty()) {
    prompt().messageBox(beginError, QStringLiteral("错误："), PromptIcon::Critical);
    return false;
  }
  QString error;
  const long id = host_.nextKey(QStringLiteral("msgmail"), QStringLiteral("邮件ID"), &error);
  if (!error.isEmpty()) {
    host_.rollbackTransaction();
    prompt().messageBox(error, QStringLiteral("提示："), PromptIcon::Information);
    return false;
  }

  sql::ReceivedRow row;
  row.mailId = id;
  row.fromName = mail.from.name;
  row.subject = mail.subject;
  row.sentTime = mail.date;
  row.toAddresses = joinAddresses(mail.to);
  row.fromAddress = mail.from.address;
  row.toNames = recipientNames(mail.to);
  row.email = joinAddresses(mail.cc);
  row.receivedTime = QDateTime::currentDateTime();
  row.attachments = attachmentCount(mail) > 0 ? 1 : 0;
  row.operatorName = host_.currentOperator();
  row.priority = mail.priority > 0 ? mail.priority : 3;  // no X-Priority header means normal
  row.messageId = account_.sPop3;  // never empty, so never taken for queued mail
  row.uidl = uidl;
  row.replyId = id;
  row.size = long(size);

  error = host_.execute(sql::insertReceived(row));
  if (!error.isEmpty()) {
    host_.rollbackTransaction();
    prompt().messageBox(error, QStringLiteral("错误："), PromptIcon::Critical);
    return false;
  }
  const bool stored = inMemory ? bytesToColumn(id, text, QStringLiteral("消息"), host_,
                                               QStringLiteral("msgmail"), QStringLiteral("邮件ID"))
                               : fileToColumn(id, path, QStringLiteral("消息"), host_,
                                              QStringLiteral("msgmail"), QStringLiteral("邮件ID"));
  if (!stored) {
    host_.rollbackTransaction();
    view_.WriteLog(QStringLiteral("保存邮件内容失败:") + path, 1);
    return false;
  }
  error = host_.commitTransaction();
  if (!error.isEmpty()) {
    host_.rollbackTransaction();
    prompt().messageBox(error, QStringLiteral("错误："), PromptIcon::Critical);
    return false;
  }
  QFile::remove(path);
  Q_EMIT EvMailRead(id);
  return true;
}

}  // namespace kvmail
