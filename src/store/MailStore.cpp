// Rows of msgmail: received and composed mail going in, the queue and stored mail coming out.
#include "store/MailStore.h"

#include "store/QueuedBundle.h"

#include <QFile>

#include "model/IBundle.h"
#include "model/MailError.h"
#include "store/FieldText.h"
#include "store/HostSystem.h"
#include "store/QueuedBundle.h"
#include "store/Statements.h"
#include "store/StoredFile.h"
#include "support/SpecialFolders.h"

namespace kvmail {
namespace {

// Rolls back and records which step failed; always answers 0 for the callers' return.
long failWith(IHostSystem& host, StoreFailure* failure, StoreStep step, const QString& error,
              int index = 0) {
  if (step != StoreStep::Begin) host.rollbackTransaction();
  if (failure) *failure = StoreFailure{step, error, index};
  return 0;
}

bool messageColumnFromBytes(IHostSystem& host, long id, const QByteArray& bytes) {
  return bytesToColumn(id, bytes, sql::messageColumn(), host, sql::mailTable(), sql::mailKey());
}

bool messageColumnFromFile(IHostSystem& host, long id, const QString& path) {
  return fileToColumn(id, path, sql::messageColumn(), host, sql::mailTable(), sql::mailKey());
}

}  // namespace

QString MailStore::receivedTime(const QString& uidl) const {
  return firstValue(host_, sql::receivedTimeByUidl(uidl));
}

double MailStore::storedSize(const QString& uidl) const {
  return vbVal(firstValue(host_, sql::storedSizeByUidl(uidl)));
}

long MailStore::storeReceived(const ReceivedMail& mail, StoreFailure* failure) const {
  if (failure) *failure = {};
  // The row and its file go in together or not at all, so a failure never leaves a stored
  // UIDL without its message (which would stop the next session from fetching it again).
  if (const QString error = host_.beginTransaction(); !error.isEmpty())
    return failWith(host_, failure, StoreStep::Begin, error);
  QString error;
  const long id = host_.nextKey(sql::mailTable(), sql::mailKey(), &error);
  if (!error.isEmpty() || id <= 0) return failWith(host_, failure, StoreStep::Key, error);

  const ReceivedFields fields = receivedFields(mail.header);
  sql::ReceivedRow row;
  row.mailId = id;
  row.fromName = fields.fromName;
  row.subject = fields.subject;
  row.sentTime = fields.sentTime;
  row.toAddresses = fields.toAddresses;
  row.fromAddress = fields.fromAddress;
  row.toNames = fields.toNames;
  row.email = fields.email;
  row.receivedTime = QDateTime::currentDateTime();
  row.attachments = fields.hasAttachments ? 1 : 0;
  row.operatorName = host_.currentOperator();
  row.priority = fields.priority;
  row.messageId = mail.pop3Server;
  row.uidl = mail.uidl;
  row.replyId = id;
  row.size = long(mail.size);
  if (error = host_.execute(sql::insertReceived(row)); !error.isEmpty())
    return failWith(host_, failure, StoreStep::Insert, error);

  const bool stored = mail.path.isEmpty() || !mail.bytes.isEmpty()
                          ? messageColumnFromBytes(host_, id, mail.bytes)
                          : messageColumnFromFile(host_, id, mail.path);
  if (!stored) return failWith(host_, failure, StoreStep::File, QString());
  if (error = host_.commitTransaction(); !error.isEmpty())
    return failWith(host_, failure, StoreStep::Commit, error);
  return id;
}

QList<long> MailStore::storeComposed(const QList<ComposedMail>& mails,
                                     StoreFailure* failure) const {
  if (failure) *failure = {};
  if (const QString error = host_.beginTransaction(); !error.isEmpty()) {
    failWith(host_, failure, StoreStep::Begin, error);
    return {};
  }
  QList<long> keys;
  for (int i = 0; i < mails.size(); ++i) {
    const ComposedMail& mail = mails[i];
    const int index = i + 1;
    QString error;
    if (!writeMailFile(mail.message, mail.filePath, &error)) {
      failWith(host_, failure, StoreStep::Write, error, index);
      return {};
    }
    const long id = host_.nextKey(sql::mailTable(), sql::mailKey(), &error);
    if (!error.isEmpty() || id <= 0) {
      failWith(host_, failure, StoreStep::Key, error, index);
      return {};
    }
    const bool reply = mail.replyKey >= 1;
    sql::ComposedRow row;
    row.mailId = id;
    row.fromName = mail.fromName;
    row.subject = mail.message.subject;
    row.sentTime = QDateTime::currentDateTime();
    row.toAddresses = mail.toAddresses;
    row.fromAddress = mail.fromAddress;
    row.toNames = mail.toTexts;
    row.email = reply ? mail.fromText : QStringLiteral("-1");
    row.level = reply ? 2 : 1;
    row.attachments = mail.hasAttachments ? 1 : 0;
    row.operatorName = host_.currentOperator();
    row.priority = mail.priority;
    row.replyId = reply ? mail.replyKey : id;
    row.size = long(QFile(mail.filePath).size());
    if (error = host_.execute(sql::insertComposed(row)); !error.isEmpty()) {
      failWith(host_, failure, StoreStep::Insert, error, index);
      return {};
    }
    if (!messageColumnFromFile(host_, id, mail.filePath)) {
      failWith(host_, failure, StoreStep::File, QString(), index);
      return {};
    }
    QFile::remove(mail.filePath);
    keys.append(id);
  }
  if (const QString error = host_.commitTransaction(); !error.isEmpty()) {
    failWith(host_, failure, StoreStep::Commit, error);
    return {};
  }
  return keys;
}

QList<long> MailStore::queuedMailIds(QString* error) const {
  QList<long> ids;
  const auto rs = host_.openQuery(sql::sendQueue(), error);
  if (!rs) {
    if (error && error->isEmpty()) *error = QStringLiteral("无法读取待发邮件。");
    return ids;
  }
  for (; !rs->atEnd(); rs->moveNext()) ids.append(vbLong(rs->text(sql::mailKey())));
  rs->close();
  return ids;
}

BundlePtr MailStore::readSendQueue() const {
  QString error;
  const QList<long> ids = queuedMailIds(&error);
  if (!error.isEmpty()) throw MailError(MailError::InvalidArgument, QString(), error);
  return std::make_shared<QueuedBundle>(*this, ids);
}

MessagePtr MailStore::readQueuedMessage(long mailId) const {
  const QString path =
      tempFilePath(QStringLiteral("temp") + QString::number(mailId) + QStringLiteral(".eml"));
  if (!messageToFile(mailId, path)) return nullptr;
  // Each queued mail gets its own attachment folder, so two mails with a file of the same name
  // never send each other's attachment.
  const QString folder = tempFilePath(QStringLiteral("kvmail-out-") + QString::number(mailId));
  return messageFromParsed(readMailFile(path, QStringLiteral("gb2312")), mailId, folder);
}

qint64 MailStore::messageLength(long mailId) const {
  const auto rs = host_.openQuery(sql::messageLength(mailId));
  if (!rs || rs->isEmpty()) return -1;
  bool ok = false;
  const qint64 length = rs->text(0).toLongLong(&ok);
  return ok ? length : -1;
}

QString MailStore::markSent(const QString& smtpServer, long mailId) const {
  return host_.execute(sql::markSent(smtpServer, mailId));
}

std::optional<StoredHeader> MailStore::header(long mailId) const {
  const auto rs = host_.openQuery(sql::mailHeader(mailId));
  if (!rs || rs->isEmpty()) return std::nullopt;
  StoredHeader h;
  h.toText = rs->text(QStringLiteral("收件人"));
  h.fromName = rs->text(QStringLiteral("发件人"));
  h.fromAddress = rs->text(QStringLiteral("发件人邮箱"));
  h.sentTime = rs->text(QStringLiteral("发送时间"));
  h.subject = rs->text(QStringLiteral("主题"));
  h.priority = vbLong(rs->text(QStringLiteral("优先级")));
  h.attachments = vbLong(rs->text(QStringLiteral("附件")));
  return h;
}

bool MailStore::messageToFile(long mailId, const QString& path) const {
  return columnToFile(mailId, path, sql::messageColumn(), host_, sql::mailTable(), sql::mailKey());
}

ParsedMail MailStore::readMessage(long mailId, const QString& path, MimeParts parts) const {
  if (!messageToFile(mailId, path)) return {};
  return readMailFile(path, QStringLiteral("gb2312"), parts);
}

QStringList MailStore::knownAddresses(QString* error) const {
  QStringList list;
  const auto rs = host_.openQuery(sql::addressBook(), error);
  if (!rs) return list;
  for (; !rs->atEnd(); rs->moveNext()) list.append(rs->text(0));
  rs->close();
  return list;
}

}  // namespace kvmail
