#pragma once
// Every SQL text the module sends to the host, built character for character. No other code
// writes SQL: callers pick a statement here and hand its text to the host system object.
#include <QDateTime>
#include <QString>

namespace kvmail::sql {

// The tables and columns whole files move through; every other name lives only in the
// statements below.
inline QString mailTable() {
  return QStringLiteral("msgmail");
}
inline QString mailKey() {
  return QStringLiteral("邮件ID");
}
inline QString messageColumn() {
  return QStringLiteral("消息");
}
inline QString templateTable() {
  return QStringLiteral("MailTemplet");
}
inline QString templateKey() {
  return QStringLiteral("progID");
}
// Read as "EMail" and written as "Email", as it always was: the store is blind to name case.
inline QString templateFileRead() {
  return QStringLiteral("EMail");
}
inline QString templateFileWrite() {
  return QStringLiteral("Email");
}

// Values of a composed mail's row, in the column order of insertComposed. CshgnsID (2), the
// empty messageID and the fixed mark/account/track/read/rights values are written by the statement.
struct ComposedRow {
  long mailId = 0;
  QString fromName;                        // 发件人
  QString subject;                         // 主题, the one value whose quotes are doubled
  QDateTime sentTime;                      // 发送时间
  QString toAddresses;                     // 收件人邮箱
  QString fromAddress;                     // 发件人邮箱
  QString toNames;                         // 收件人
  QString email;                           // [E-MAIL]
  long level = 1;                          // 级次
  QDateTime receivedTime;                  // 接收时间: left invalid, so written ''
  long attachments = 0;                    // 附件
  QString operatorName;                    // 操作者
  QString priority = QStringLiteral("3");  // 优先级, written bare
  long replyId = 0;                        // 回复ID
  long size = 0;                           // 大小
};

// Values of a received mail's row. CshgnsID 1, 级次 1 and the fixed values are written by the
// statement; the length cuts of the address, name and UIDL columns are applied by it too.
struct ReceivedRow {
  long mailId = 0;
  QString fromName;
  QString subject;
  QDateTime sentTime;
  QString toAddresses;
  QString fromAddress;
  QString toNames;
  QString email;
  QDateTime receivedTime;
  long attachments = 0;
  QString operatorName;
  long priority = 3;  // written bare
  QString messageId;  // the account's POP3 server name
  QString uidl;
  long replyId = 0;
  long size = 0;
};

// A date as the store keeps it: "yyyy-MM-dd HH:mm:ss" in local time; an invalid date gives "".
QString dateText(const QDateTime& when);

QString accountForUser(const QString& userId);
QString defaultAccount();
// The same rows with every column, for the optional settings a host's table may carry
// (mapop3port); a table without them gives the plain behaviour.
QString accountSettingsForUser(const QString& userId);
QString defaultAccountSettings();
QString templateFields(long progId);
QString sendQueue();
QString addressBook();
QString insertComposed(const ComposedRow& row);
QString markSent(const QString& smtpServer, long mailId);
QString receivedTimeByUidl(const QString& uidl);
QString storedSizeByUidl(const QString& uidl);
QString insertReceived(const ReceivedRow& row);
QString mailHeader(long mailId);
QString messageLength(long mailId);
QString deleteTemplate(long progId);
QString insertTemplate(long progId, const QString& to, const QString& cc, const QString& subject);
QString programName(long progId);
QString templateExists(long progId);
QString columnToFileQuery(const QString& column, const QString& table, const QString& keyColumn,
                          long key);
QString fileToColumnQuery(const QString& column, const QString& table, const QString& keyColumn,
                          long key);

}  // namespace kvmail::sql
